#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>

#include <gtest/gtest.h>

#include "webdav/base/CStr.h"
#include "webdav/base/Text.h"

namespace webdav {
namespace {

using namespace std::string_literals;

/// Plain and coded.
using Pair = std::pair<std::string, std::string>;

TEST(Text, Base64GoesThereAndBack) {
    const Pair cases[] = {
        {"", ""},        {"f", "Zg=="},          {"fo", "Zm8="},
        {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {"\x00\xFF\xFE\xFB"s, "AP/++w=="}};
    for (const auto& [plain, coded] : cases) {
        EXPECT_EQ(Base64Encode(plain), coded);
        EXPECT_EQ(Base64Decode(coded), plain);
    }
    EXPECT_EQ(Base64Decode("Zm\r\n 9v"), "foo");
    EXPECT_EQ(Base64Decode("Zg==Zm9v"), "f");
    EXPECT_EQ(Base64Decode("Zg"), "f");
    EXPECT_EQ(Base64Decode("Z"), "");
}

TEST(Text, FolderNamesInModifiedUtf7) {
    const Pair cases[] = {{"", ""},
                          {"Work & Home", "Work &- Home"},
                          {"Caf\xC3\xA9", "Caf&AOk-"},
                          {"\xC3\xA9&\xC3\xA9", "&AOk-&-&AOk-"},
                          {"\xE5\x8F\xB0\xE5\x8C\x97", "&U,BTFw-"},
                          {"a\xF0\x9F\x98\x80z", "a&2D3eAA-z"},
                          {"~\x7F\t", "~&AH8ACQ-"}};
    for (const auto& [plain, coded] : cases) EXPECT_EQ(EncodeModifiedUtf7(plain), coded);
}

TEST(Text, Utf8IsJudgedAndCleaned) {
    const std::tuple<std::string, bool, std::string> cases[] = {
        {"", true, ""},
        {"plain text", true, "plain text"},
        {"\x7F\xC2\x80\xDF\xBF", true, "\x7F\xC2\x80\xDF\xBF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80", true, "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", true, "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {"a\xC3\x62", false, "ab"},
        {"\xE0\x80\x80", false, ""},              // an overlong form
        {"x\xED\xA0\x80y", false, "xy"},          // a surrogate
        {"\xEE\x7F\x80", false, "\x7F"},          // in the range of the surrogates, and broken
        {"\xF4\x90\x80\x80!", false, "!"},        // above U+10FFFF
        {"\xF0\x8F\xBF\xBF", false, ""},          // overlong
        {"\xC1\xBF\x80\xFF", false, ""},          // leads and strays that never start a sequence
        {"abc\xE2\x82", false, "abc"},            // cut off
        {"\xE2\x82\xC3\xA9", false, "\xC3\xA9"},  // broken by a sequence that is whole
        {"0123456789\xF0\x9F\x98", false, "0123456789"},
        {"\xEF\xBF\xBE", true, "\xEF\xBF\xBE"},
        {"a\xEF\xBF\xBF"
         "b",
         true, "ab"},                  // U+FFFF passes the test but not the cleaning
        {"ok\0\xFF"s, true, "ok\0"s},  // judged to the NUL, cleaned to the end
        {"\xC3\0\xA9"s, false, "\0"s},
    };
    for (const auto& [bytes, valid, clean] : cases) {
        EXPECT_EQ(IsValidUtf8(bytes), valid) << testing::PrintToString(bytes);
        EXPECT_EQ(RemoveInvalidUtf8(bytes), clean) << testing::PrintToString(bytes);
    }
    for (size_t at = 0; at < 80; ++at) {  // in each of the steps that the check makes
        std::string text(80, 'a');
        text[at] = '\xFF';
        EXPECT_FALSE(IsValidUtf8(text)) << at;
        EXPECT_EQ(RemoveInvalidUtf8(text), std::string(79, 'a')) << at;
    }
}

TEST(Text, UriPathsAreEscapedWhereTheyMust) {
    const Pair cases[] = {{"/webdav/caldav/a@b.c/b64=QQ==/", "/webdav/caldav/a@b.c/b64=QQ==/"},
                          {"-._~!$&'()*+,;=:@/", "-._~!$&'()*+,;=:@/"},
                          {"two words%", "two%20words%25"},
                          {"\"<>\\^`{|}?#[]", "%22%3C%3E%5C%5E%60%7B%7C%7D%3F%23%5B%5D"},
                          {"\xC3\xA9\n\x7F\0"s, "%C3%A9%0A%7F%00"}};
    for (const auto& [plain, coded] : cases) {
        EXPECT_EQ(EncodeUriPath(plain), coded);
        EXPECT_EQ(DecodeUriPath(coded), plain);
    }
    for (size_t at = 0; at < 40; ++at) {
        std::string text(40, 'Z');
        text[at] = '/';
        std::string segment;
        AppendUriSegment(segment, text);
        EXPECT_EQ(segment, text.substr(0, at) + "%2F" + text.substr(at + 1));
        EXPECT_EQ(EncodeUriPath(text), text);
    }
    const Pair loose[] = {{"a+b", "a+b"},     {"%", "%"},       {"%4", "%4"},
                          {"%G1A", "%G1%41"}, {"%20", "%2520"}, {"\xE9", "%e9"}};
    for (const auto& [plain, coded] : loose) EXPECT_EQ(DecodeUriPath(coded), plain) << coded;
}

TEST(Text, ComparisonsFoldAsciiAlone) {
    EXPECT_TRUE(EqualsNoCase("Hiwater.MRK", "hiwater.mrk"));
    EXPECT_FALSE(EqualsNoCase("a", "ab"));
    EXPECT_FALSE(EqualsNoCase("\xC3\x89", "\xC3\xA9"));
    EXPECT_FALSE(EqualsNoCase("[", "{"));
    EXPECT_TRUE(StartsWithNoCase("B64=x", "b64="));
    EXPECT_FALSE(StartsWithNoCase("b6", "b64="));
    EXPECT_TRUE(EndsWithNoCase("a.ICS", ".ics"));
    EXPECT_FALSE(EndsWithNoCase("ics", ".ics"));
    EXPECT_EQ(ToLowerAscii("AZ[\xC3\x89"), "az[\xC3\x89");
}

TEST(Text, FormatsAnyLength) {
    const std::string many(100'000, 'x');
    EXPECT_EQ(FormatText("%s-%03d", many.c_str(), 7), many + "-007");
    CStr text;
    text.Format("%d%%", 5);
    EXPECT_EQ(text.text(), "5%");
    const wchar_t unknown[] = {static_cast<wchar_t>(0xD800), 0};
    EXPECT_THROW(text.Format("%ls", unknown), std::runtime_error);
    EXPECT_EQ(text.text(), "5%");
}

}  // namespace
}  // namespace webdav
