#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/xml/Outline.h"
#include "webdav/xml/MarkupDocument.h"

using webdav::MarkupDocument;

namespace {

TEST(MarkupDocument, ReadsThroughItsCursor) {
    MarkupDocument d;
    ASSERT_TRUE(
        d.setText("<r><a k='1' k='2' e='&lt;&#10;' n = bare x/>one<b>t&amp;"
                  "<![CDATA[<&amp;>]]><!-- no --><i>in</i>u</b><a>3</a></r>"));
    EXPECT_FALSE(d.findElement("a"));
    EXPECT_EQ(d.tagName(), "");
    ASSERT_TRUE(d.findElement("r"));
    EXPECT_EQ(d.textData(), "one");
    ASSERT_TRUE(d.intoElement());
    EXPECT_EQ(d.tagName(), "");
    ASSERT_TRUE(d.findElement());
    std::string attributes;
    webdav::MarkupAttribute attribute;
    for (auto reader = d.attributes(); reader.next(attribute);) {
        attributes += std::string(attribute.name) + "=" + attribute.value() + ";";
    }
    EXPECT_EQ(attributes, "k=1;k=2;e=<\n;n=bare;x=;");
    EXPECT_EQ(d.attribute("k"), "1");
    EXPECT_TRUE(d.hasAttribute("x"));
    EXPECT_FALSE(d.hasAttribute("y"));
    ASSERT_TRUE(d.findElement("a"));
    EXPECT_EQ(d.textData(), "3");
    EXPECT_FALSE(d.findElement("b"));
    EXPECT_EQ(d.tagName(), "a");
    ASSERT_TRUE(d.outOfElement());
    EXPECT_EQ(d.tagName(), "r");
    EXPECT_FALSE(d.outOfElement());
    ASSERT_TRUE(d.intoElement());
    EXPECT_EQ(d.textData(), "3") << "going out keeps the child";
    d.resetPosition();
    d.findElement();
    d.intoElement();
    ASSERT_TRUE(d.findElement("b"));
    EXPECT_EQ(d.textData(), "t&<&amp;>u");
}

/// Does one step and tells whether it was done: ">name" goes down to the first element of a name,
/// "v" into it; "+name=text", "^..." and "*..." add an element behind, before and within the
/// current one; "@name=value", "=text" and "#text" set an attribute, the text and a CDATA section.
bool done(MarkupDocument& d, const std::string& step) {
    const size_t equals = std::min(step.find('=', 1), step.size());
    const std::string name = step.substr(1, equals - 1);
    const std::string text = step.substr(std::min(equals + 1, step.size()));
    switch (step[0]) {
        case '>':
            d.resetPosition();
            while (!d.findElement(name) && d.findElement()) d.intoElement();
            return true;
        case 'v':
            return d.intoElement();
        case '+':
            return d.addElement(name, text);
        case '^':
            return d.insertElement(name, text);
        case '*':
            return d.addChildElement(name, text);
        case '@':
            return d.setAttribute(name, text) && d.attribute(name) == text;
        case '=':
            return d.setTextData(step.substr(1));
        default:
            return d.setCData(step.substr(1)) && d.textData() == step.substr(1);
    }
}

TEST(MarkupDocument, EditsInPlace) {
    const std::string leftOut = "</b" + std::string(1100, ' ') + ">";
    struct Edit {
        std::string before;
        std::vector<std::string> steps;  ///< the last one is refused when nothing is to change
        std::string after;
    };
    const Edit edits[] = {
        {"", {"+a=<\x01>"}, "<a>&lt;&gt;</a>"},
        {"<?xml version='1.0'?>\n", {"+a"}, "<?xml version='1.0'?>\n<a/>"},
        {"<a/>", {"+b"}, "<a/>"},
        {"<a/>", {">a", "*b c"}, "<a/>"},
        {"<a x='1' />", {">a", "*b", "*c"}, "<a x='1' ><b/><c/></a>"},
        {"<a x=//>", {">a", "*b"}, "<a x=/ ><b/></a>"},
        {"<a>1<b/>2<b/>3</a>", {">b", "+c", "+d"}, "<a>1<b/><c/><d/>2<b/>3</a>"},
        {"<a>1<b/>2<c/>3</a>", {">c", "^d=x"}, "<a>1<b/>2<d>x</d><c/>3</a>"},
        {"<a><b/></a>", {">a", "v", "+c"}, "<a><b/><c/></a>"},
        {"<a><b/></a>", {">a", "v", "^c"}, "<a><c/><b/></a>"},
        {"<a x='1' y='2'><b/></a>",
         {">a", "@x=\"&'\n", "@z="},
         "<a x=\"&quot;&amp;&apos;&#10;\" y='2' z=\"\"><b/></a>"},
        {"<a x=/>", {">a", "@y=1"}, "<a y=\"1\" x=/>"},
        {"<a x=b'c d'></a>", {">a", "@y=1"}, "<a y=\"1\" x=b'c d'></a>"},
        {"<a><b/></a>", {">b", "@x=1", "=t"}, "<a><b x=\"1\">t</b></a>"},
        {"<a>old<!-- c --></a>", {">a", "=n<"}, "<a>n&lt;</a>"},
        {"<a><b>old</b></a>", {">b", "="}, "<a><b/></a>"},
        {"<a><b/></a>", {">a", "=t"}, "<a><b/></a>"},
        {"<a/>", {">a", "#x]]>y"}, "<a><![CDATA[x]]]]><![CDATA[>y]]></a>"},
        // What was left open is ended where it must be for the edit to mean what it says.
        {"<a><b><c></a>", {">b", "+d"}, "<a><b><c></b><d/></a>"},
        {"<a><b><c></a>", {">c", "*d"}, "<a><b><c><d/></a>"},
        {"<a><b>1" + leftOut + "<c/></a>", {">b", "+d"}, "<a><b>1" + leftOut + "<d/><c/></a>"},
    };
    for (const Edit& edit : edits) {
        SCOPED_TRACE(edit.before);
        MarkupDocument document;
        document.setText(edit.before);
        bool all = true;
        for (const std::string& step : edit.steps) all = done(document, step) && all;
        EXPECT_EQ(all, edit.before != edit.after);
        const std::string wanted = outline(document);
        EXPECT_EQ(document.text(), edit.after);
        MarkupDocument again;
        again.setText(document.text());
        EXPECT_EQ(outline(again), wanted);
    }
}

TEST(MarkupDocument, TakesNamesThatLieInItsOwnText) {
    MarkupDocument document;
    document.setText("<a><" + std::string(1000, 'b') + "/></a>");
    document.findElement();
    document.intoElement();
    document.findElement();
    for (int i = 0; i < 100; ++i) ASSERT_TRUE(document.addElement(document.tagName()));
    MarkupDocument again;
    EXPECT_TRUE(again.setText(document.text()));
    EXPECT_EQ(again.index().table().count(), 102U);
}

TEST(MarkupDocument, RefusesAStartTagBeyondItsField) {
    MarkupDocument document;
    document.addElement("a");
    EXPECT_FALSE(document.setAttribute("x", std::string(5'000'000, 'x')));
    EXPECT_FALSE(document.addChildElement(std::string(2000, 'n')));
    EXPECT_EQ(document.takeText(), "<a/>");
    EXPECT_EQ(document.text(), "");
    EXPECT_TRUE(document.addElement("b"));
}

TEST(MarkupDocument, KeepsItsTableInStepWhereverItIsEdited) {
    // Far more elements than a segment holds, added at the end, the front and in between.
    constexpr int kEach = 50'000;
    MarkupDocument document;
    document.addElement("r");
    document.intoElement();
    for (int i = 0; i < kEach; ++i) document.addElement("end");
    document.resetPosition();
    document.findElement();
    document.intoElement();
    for (int i = 0; i < kEach; ++i) document.insertElement("front", "x");
    document.resetPosition();
    document.findElement();
    document.intoElement();
    while (document.findElement("end")) {
        document.setAttribute("k", "v");
        document.addChildElement("child");
    }
    const std::string wanted = outline(document);
    MarkupDocument again;
    EXPECT_TRUE(again.setText(document.text()));
    EXPECT_EQ(again.index().table().count(), 3U * kEach + 1);
    EXPECT_EQ(outline(again), wanted);
}

}  // namespace
