#include <cstdlib>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "platform/Registry.h"
#include "tests/platform/TemporaryDirectory.h"
#include "webdav/xml/CharsetNames.h"
#include "webdav/xml/DeclaredEncoding.h"
#include "webdav/xml/MarkupDocument.h"

using namespace std::string_literals;
using webdav::MarkupDocument;
using webdav::SaveOptions;

namespace {

constexpr std::string_view kDetected = R"(<utf8_detection msg="read" encoding="UTF-8"/>)";

class MarkupFile : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(platform::useRegistryFile(registry_)); }
    void TearDown() override { ::unsetenv("CORVANE_REGISTRY"); }
    void write(const std::string& bytes) { ASSERT_TRUE(platform::replaceFile(file_, bytes)); }
    std::string read() const { return platform::readFile(file_, 1 << 20).value_or("none"); }

    TemporaryDirectory directory_;
    std::string registry_ = directory_.path("registry.ini");
    std::string file_ = directory_.path("document.xml");
};

TEST_F(MarkupFile, IsReadInWhateverEncodingItIs) {
    const std::string bomOf = R"(<bom msg="read" encoding=")";
    const std::string to = R"(<converted_to msg="read" encoding="UTF-8" length=")";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"<a>\xC3\xA9</a>", "<a>\xC3\xA9</a>", std::string(kDetected)},
        {"\xEF\xBB\xBF<a/>", "<a/>", bomOf + R"(UTF-8" length="3"/>)"},
        {"\xEF\xBB\xBF<a>\xFF</a>", "<a>\xEF\xBF\xBD</a>",
         bomOf + R"(UTF-8" length="3"/>)" + to + R"(10"/><conversion_loss msg="read" count="1"/>)"},
        {"\xFF\xFE<\0a\0>\0\xE9\0=\xD8\0\xDE<\0/\0a\0>\0"s, "<a>\xC3\xA9\xF0\x9F\x98\x80</a>",
         bomOf + R"(UTF-16LE" length="2"/>)" + to + R"(13"/>)"},
        {"\xFE\xFF\0<\0a\0/\0>"s, "<a/>",
         bomOf + R"(UTF-16BE" length="2"/><endian_swap msg="read" encoding="UTF-16BE"/>)" + to +
             R"(4"/>)"},
        {"\xFF\xFE<\0a\0/\0>\0x"s, "<a/>",
         bomOf + R"(UTF-16LE" length="2"/><truncation_error msg="read" length="1"/>)" + to +
             R"(4"/>)"},
        {"\xFF\xFE<\0a\0>\0\0\xD8\0\0<\0/\0a\0>\0"s, "<a>\xEF\xBF\xBD</a>",
         bomOf + R"(UTF-16LE" length="2"/>)" + to +
             R"(11"/><conversion_loss msg="read" count="1"/><nulls_removed msg="read" count="1"/>)"},
        {"<\0a\0/\0>\0"s, "<a/>",
         R"(<nulls_removed msg="read" count="4"/>)" + std::string(kDetected)},
        {"<?xml version='1.0' encoding='Windows-1252'?><a>\x80\xE9</a>",
         "<?xml version='1.0' encoding='Windows-1252'?><a>\xE2\x82\xAC\xC3\xA9</a>",
         R"(<utf8_detection msg="read" encoding="Windows-1252"/>)" + to + R"(57"/>)"},
        {"<html><META HTTP-EQUIV='content-type' Content='text/html; CHARSET=koi8-r'>\xC1</html>",
         "<html><META HTTP-EQUIV='content-type' Content='text/html; CHARSET=koi8-r'>"
         "\xD0\xB0</html>",
         R"(<utf8_detection msg="read" encoding="koi8-r"/>)" + to + R"(83"/>)" +
             R"(<unended_start_tag tagname="META" offset="6" offset2="76"/>)"},
        {"<a>\xE9</a>", "<a>\xEF\xBF\xBD</a>",
         R"(<utf8_detection msg="read" encoding="ANSI"/>)" + to +
             R"(10"/><conversion_loss msg="read" count="1"/>)"},
        {"<?xml encoding='utf-16'?><a>\xE9</a>", "<?xml encoding='utf-16'?><a>\xEF\xBF\xBD</a>",
         R"(<utf8_detection msg="read" encoding="ANSI"/>)" + to +
             R"(35"/><conversion_loss msg="read" count="1"/>)"},
        {"", "", std::string(kDetected) + "<no_root_element/>"},
    };
    for (const auto& [bytes, text, results] : cases) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        write(bytes);
        MarkupDocument document;
        document.load(file_);
        EXPECT_EQ(document.text(), text);
        EXPECT_EQ(document.results(), results);
        EXPECT_EQ(document.findElement(), !text.empty());
    }
}

TEST_F(MarkupFile, IsReadInTheSystemCodePageForWantOfBetter) {
    ASSERT_TRUE(platform::writeProfileText(registry_, "Platform", "CodePage", "1251"));
    write("<a>\xC0</a>");
    MarkupDocument document;
    EXPECT_TRUE(document.load(file_));
    EXPECT_EQ(document.text(), "<a>\xD0\x90</a>");
    EXPECT_TRUE(document.save(file_, {.encoding = "ansi"}));
    EXPECT_EQ(read(), "<a>\xC0</a>");
}

TEST_F(MarkupFile, IsWrittenInTheEncodingAskedFor) {
    const std::string from = R"(<converted_from msg="write" encoding="UTF-8" length=")";
    const std::tuple<SaveOptions, std::string, std::string> cases[] = {
        {{}, "<a>\xC3\xA9\xE4\xB8\xAD</a>", ""},
        {{.encoding = "utf-8", .mark = true},
         "\xEF\xBB\xBF<a>\xC3\xA9\xE4\xB8\xAD</a>",
         R"(<bom msg="write" encoding="UTF-8" length="3"/>)"},
        {{.encoding = "UTF-16", .mark = true},
         "\xFF\xFE<\0a\0>\0\xE9\0\x2D\x4E<\0/\0a\0>\0"s,
         from + R"(18"/><bom msg="write" encoding="UTF-16LE" length="2"/>)"},
        {{.encoding = "UTF-16BE"},
         "\0<\0a\0>\0\xE9\x4E\x2D\0<\0/\0a\0>"s,
         from + R"(18"/><endian_swap msg="write" encoding="UTF-16BE"/>)"},
        {{.encoding = "latin1", .mark = true},
         "<a>\xE9?</a>",
         from + R"(9"/><conversion_loss msg="write" count="1"/>)"},
        {{.encoding = "gbk"}, "<a>\xA8\xA6\xD6\xD0</a>", from + R"(11"/>)"},
    };
    for (const auto& [options, bytes, results] : cases) {
        SCOPED_TRACE(options.encoding);
        MarkupDocument document;
        document.setText("<a>\xC3\xA9\xE4\xB8\xAD</a>");
        EXPECT_TRUE(document.save(file_, options));
        EXPECT_EQ(read(), bytes);
        EXPECT_EQ(document.results(), results);
    }
}

TEST_F(MarkupFile, IsAppendedToWithOneMarkAtItsStart) {
    MarkupDocument document;
    document.setText("<a/>");
    const SaveOptions options{.encoding = "UTF-16", .mark = true, .append = true};
    EXPECT_TRUE(document.save(file_, options));
    EXPECT_TRUE(document.save(file_, options));
    EXPECT_EQ(read(), "\xFF\xFE<\0a\0/\0>\0<\0a\0/\0>\0"s);
}

TEST_F(MarkupFile, TellsWhatCannotBeReadOrWritten) {
    MarkupDocument document;
    document.setText("<a/>");
    EXPECT_FALSE(document.save(directory_.path("none\\document.xml")));
    EXPECT_EQ(document.results(), R"(<file_error msg="write"/>)");
    EXPECT_FALSE(document.save(file_, {.encoding = "klingon"}));
    EXPECT_EQ(document.results(), R"(<file_error msg="write" encoding="klingon"/>)");
    EXPECT_EQ(read(), "none");
    EXPECT_FALSE(document.load(file_));
    EXPECT_EQ(document.results(), R"(<file_error msg="read"/>)");
    EXPECT_EQ(document.text(), "");
    write("<abc/>");
    EXPECT_FALSE(document.load(file_, 5));
    EXPECT_TRUE(document.load(file_, 6));
}

TEST(CharsetNames, AreFoundWithoutRegardToCase) {
    const std::pair<std::string_view, uint32_t> known[] = {
        {"KSC_5601", 949},
        {"gbk", 936},
        {"CP65001", 65001},
        {"utf-8", 65001},
        {"UTF-16", 1200},
        {"UTF-16BE", 1201},
        {"UTF-32", 12000},
        {"US-ASCII", 20127},
        {"ISO-8859-1", 28591},
        {"437", 437},
        {"x-x-big5", 950},
        {"Windows-1252", 1252},
        {"iso-8859-8 visual", 28598},
        {"Extended_UNIX_Code_Packed_Format_for_Japanese", 20932}};
    for (const auto& [name, codePage] : known) {
        EXPECT_EQ(webdav::codePageOfCharset(name), codePage) << name;
    }
    for (const std::string_view name : {"", "utf", "gb", "gbk2", "klingon", "\xC3\xA9"}) {
        EXPECT_EQ(webdav::codePageOfCharset(name), std::nullopt) << name;
    }
}

TEST(DeclaredEncoding, StandsInTheDeclarationOrInAMetaElement) {
    const std::pair<std::string, std::string_view> cases[] = {
        {"<?xml version=\"1.0\" encoding = 'Big5' ?><a/>", "Big5"},
        {"<?xml version='1.0'?><a encoding='no'/>", ""},
        {"<?xml-stylesheet encoding='no'?><a/>", ""},
        {"<meta http-equiv=Content-Type content='text/html;charset=\"x\"'>", ""},
        {"<!-- <meta http-equiv='Content-Type' content='charset=no'> -->"
         "<meta name='a'/><meta http-equiv=\"Content-Type\" content=\"text/html; charset=gb2312; "
         "x\">",
         "gb2312"},
        {std::string(5000, ' ') + "<?xml encoding='late'?>", ""},
    };
    for (const auto& [text, encoding] : cases) {
        EXPECT_EQ(webdav::declaredEncoding(text), encoding) << text;
    }
}

}  // namespace
