#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/xml/Outline.h"
#include "webdav/xml/MarkupDocument.h"

using webdav::MarkupDocument;

namespace {

TEST(MarkupParser, FindsTheElementsOfAnyTextAndTellsWhatIsWrong) {
    const std::string big(5'000'000, 'x');
    const std::string longName(1021, 'n');
    const std::string blanks(1100, ' ');
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"<a/>", "a", ""},
        {"<?xml version='1.0'?>\n<a x='>'><b y=\"/>\"/>t<c></c ></a>\n", "a(b c)", ""},
        {"<a:b.c-d_1><\xC3\xA9/></a:b.c-d_1>", "a:b.c-d_1(\xC3\xA9)", ""},
        {"<a;b/>", "a", ""},
        {"<a><!-- <b> --><?p <b> ?><![CDATA[<b>]]></a>", "a", ""},
        {"<!DOCTYPE a [<!ENTITY b ']><x>'><!-- ]><y> --><?p ]><z> ?>]><a/>", "a", ""},
        {"<!doctype html><a/>", "a", ""},
        {"<a>1 > 2</a>", "a", ""},

        {"", "", "<no_root_element/>"},
        {"BEGIN:VCALENDAR", "", "<no_root_element/>"},
        {"<a/> <b/>", "a b", R"(<root_has_sibling tagname="b" offset="5"/>)"},
        {"<a/></b>", "a", R"(<lone_end_tag tagname="b" offset="4"/>)"},
        {"<a></A></a>", "a", R"(<lone_end_tag tagname="A" offset="3"/>)"},
        {"<a><b><c></a>", "a(b(c))",
         R"(<unended_start_tag tagname="c" offset="6" offset2="9"/>)"
         R"(<unended_start_tag tagname="b" offset="3" offset2="9"/>)"},
        {"<a><b><a></b></a>", "a(b(a))",
         R"(<unended_start_tag tagname="a" offset="6" offset2="9"/>)"},
        {"<a><b/>", "a(b)", R"(<unended_start_tag tagname="a" offset="0" offset2="7"/>)"},
        {"<a>1 < 2 </ ></a>", "a",
         R"(<first_tag_syntax offset="5"/><first_tag_syntax offset="9"/>)"},
        {"<a><b x='1'<c/></d<e/></a>", "a(c e)",
         R"(<unterminated_tag_syntax offset="3"/><unterminated_tag_syntax offset="15"/>)"},
        {"<a/><b x='></a>", "a", R"(<unterminated_tag_syntax offset="4"/>)"},
        {"<a/><? x >", "a", R"(<unterminated_tag_syntax offset="4"/>)"},
        {"<a/><!-- x --", "a", R"(<comment_tag_syntax offset="4"/>)"},
        {"<a/><![CDATA[ x ]]", "a", R"(<cdata_section_syntax offset="4"/>)"},
        {"<!DOCTYPE a [ <a/>", "", R"(<doctype_tag_syntax offset="0"/><no_root_element/>)"},
        {"<a><!x></a>", "a", R"(<exclamation_tag_syntax offset="3"/>)"},

        {"<a><b x='" + big + "'/><c/></a>", "a(c)",
         R"(<truncation_error msg="tag" tagname="b" length="5000009" offset="3"/>)"},
        {"<a><b>1</b" + blanks + "><c/></a>", "a(b c)",
         R"(<truncation_error msg="end_tag" tagname="b" length="1104" offset="7"/>)"},
        {"<a><" + longName + "><c/></" + longName + "></a>", "a(c)",
         R"(<truncation_error msg="start_tag" tagname=")" + longName.substr(0, 100) +
             R"(" length="1023" offset="3"/><truncation_error msg="end_tag" tagname=")" +
             longName.substr(0, 100) + R"(" length="1024" offset="1030"/>)"},
    };
    for (const auto& [text, elements, results] : cases) {
        SCOPED_TRACE(text.substr(0, 80));
        MarkupDocument document;
        EXPECT_EQ(document.setText(text), results.empty());
        EXPECT_EQ(outline(document), elements);
        EXPECT_EQ(document.results(), results);
        EXPECT_TRUE(document.text() == text);
    }
}

TEST(MarkupParser, FlagsTheElementsThatProblemsConcern) {
    MarkupDocument document;
    document.setText("<a><b></x></b><c></a>");
    const webdav::ElementTable& table = document.index().table();
    const uint32_t flags[] = {0x800000, 0, 0x200000, 0x200000};
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(table[i].flags, flags[i]) << i;
}

TEST(MarkupParser, IgnoresTheCaseOfNamesWhenAskedTo) {
    MarkupDocument document(MarkupDocument::kIgnoreCase);
    EXPECT_TRUE(document.setText("<HTML><Head></hEAD><i></I></html>"));
    document.setText("<HTML><p><B></P></bODY></html>");
    EXPECT_EQ(outline(document), "HTML(p(B))");
    EXPECT_TRUE(document.findElement("html"));
}

TEST(MarkupParser, KeepsTheResultTextShort) {
    MarkupDocument document;
    std::string text = "<a>";
    for (int i = 0; i < 1000; ++i) text += "</b>";
    document.setText(text);
    EXPECT_GE(document.results().size(), 1000U);
    EXPECT_LT(document.results().size(), 1100U);
}

}  // namespace
