#include <tuple>

#include <gtest/gtest.h>

#include "platform/Registry.h"
#include "tests/platform/TemporaryDirectory.h"
#include "webdav/base/ExceptObj.h"
#include "webdav/frame/URLDecoder.h"

using webdav::CURLDecoder;
using webdav::ExceptObj;
using namespace std::string_view_literals;

namespace {

std::string parameter(std::string_view query, std::string_view name) {
    std::string value;
    return CURLDecoder(query).GetParameter(name, value) ? value : "(absent)";
}

TEST(URLDecoder, WalksTheQueryString) {
    const std::string longName(300, 'n');
    const std::string longQuery = longName + "=1&b=2";
    const std::string_view cases[][3] = {
        {"username=a%2Cb&password=x", "username", "a,b"},
        {"username=a%2Cb&password=x", "PassWord", "x"},
        {"a&b=1", "AB", "1"},
        {"a&b=1", "b", "(absent)"},
        {"a=1&tail", "tail", "(absent)"},
        {"a=1&tail", "a", "1"},
        {"a=1&A=2", "a", "2"},
        {"a=b=c", "a", "b=c"},
        {"a=&b=2", "a", ""},
        {"a=1\r\nb=2", "b", "2"},
        {"a=1\0b=2"sv, "b", "2"},
        {"a=1&&b=2", "b", "2"},
        {"%74oken=1", "token", "1"},
        {"a+b=1", "a b", "1"},
        {"a%zzb=1", "ab", "1"},
        {"a%0zb=1", "ab", "1"},
        {"a%=1", "a", "(absent)"},
        {"a%=1&b=2", "a", "(absent)"},
        {"=1", "", "1"},
        {"", "", "(absent)"},
        {longQuery, std::string_view(longName).substr(0, 127), "1"},
        {longQuery, longName, "(absent)"},
        {longQuery, "b", "2"},
        {"a%00b=1", "a", "1"},
    };
    for (const auto& [query, name, value] : cases)
        EXPECT_EQ(parameter(query, name), value) << query << " " << name;
}

TEST(URLDecoder, DecodesValues) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"a+b%20c", "a b c"},   {"%41%4a%4A", "AJJ"},    {"x%4", "x4"},    {"x%", "x"},
        {"x%zz-", "x-"},        {"a&b\r\n\0c"sv, "abc"}, {"a%26b", "a&b"}, {"a%00b", "a"},
        {"%c3%a9", "\xC3\xA9"}, {"%ff", "\xEF\xBF\xBD"},
    };
    for (const auto& [raw, decoded] : cases)
        EXPECT_EQ(CURLDecoder::Decode(raw, 64), decoded) << raw;
}

// One wrong digit: %G5 is the byte F5 and %5G the byte FF, seen in a code page that has them.
TEST(URLDecoder, ConvertsToTheSystemCodePage) {
    const TemporaryDirectory directory;
    const std::string before = platform::registryFilePath();
    ASSERT_TRUE(
        platform::replaceFile(directory.path("registry.ini"), "[Platform]\nCodePage=1252\n"));
    ASSERT_TRUE(platform::useRegistryFile(directory.path("registry.ini")));
    EXPECT_EQ(CURLDecoder::Decode("%c3%a9", 64), "\xE9");
    // F5 80 80 80 is no character and FF no byte of UTF-8.
    EXPECT_EQ(CURLDecoder::Decode("%cG", 64), "?");
    EXPECT_EQ(CURLDecoder::Decode("%G3%ag", 64), CURLDecoder::Decode("%F3%FF", 64));
    platform::useRegistryFile(before);
}

TEST(URLDecoder, RefusesWhatDoesNotFit) {
    // The line of a refusal, 0 for what fits.
    const std::tuple<std::string_view, size_t, uint32_t> cases[] = {
        {"abc", 4, 0}, {"abc", 3, 204}, {"ab+", 3, 162}, {"ab&", 3, 0},    {"ab%63", 3, 204},
        {"ab%", 3, 0}, {"", 1, 0},      {"a", 0, 204},   {"\xFF", 2, 237}, {"%C3%A9", 7, 0},
    };
    for (const auto& [raw, size, expected] : cases) {
        uint32_t line = 0;
        try {
            CURLDecoder::Decode(raw, size);
        } catch (const ExceptObj& failure) {
            line = failure.line();
            EXPECT_EQ(failure.message(), "Parameter Too Large");
        }
        EXPECT_EQ(line, expected) << raw << " " << size;
    }
}

}  // namespace
