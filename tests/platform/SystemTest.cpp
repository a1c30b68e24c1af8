#include <cstdlib>
#include <limits>
#include <set>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "platform/AnonymousSection.h"
#include "platform/CodePage.h"
#include "platform/DynamicLibrary.h"
#include "platform/Error.h"
#include "platform/Files.h"
#include "platform/Guid.h"
#include "platform/PrivateProfile.h"
#include "platform/Random.h"
#include "platform/Registry.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace platform;

namespace {

constexpr const char* kKey = "SOFTWARE\\Quindle Software\\Corvane";

/// The registry is a file of the test's own.
class System : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(useRegistryFile(registry_)); }
    void TearDown() override { ::unsetenv("CORVANE_REGISTRY"); }
    void setCodePage(const char* number) {
        ASSERT_TRUE(writeProfileText(registry_, "Platform", "CodePage", number));
    }

    TemporaryDirectory directory_;
    std::string registry_ = directory_.path("registry.ini");
};

TEST_F(System, TheRegistryIsAFile) {
    EXPECT_EQ(registryFilePath(), registry_);
    EXPECT_EQ(readRegistryText(kKey, "AppPath", 1024).error, 2U);
    ASSERT_TRUE(writeProfileText(registry_, kKey, "AppPath", "\\data\\bin"));
    ASSERT_TRUE(writeProfileText(registry_, kKey, "Longer", std::string(1024, 'x')));
    EXPECT_EQ(readRegistryText("software\\quindle software\\CORVANE", "apppath", 1024).text,
              "\\data\\bin");
    EXPECT_EQ(readRegistryText(kKey, "None", 1024).error, 2U);
    EXPECT_EQ(readRegistryText("SOFTWARE", "AppPath", 1024).error, 2U);
    EXPECT_EQ(readRegistryText(kKey, "Longer", 1024).error, kErrorMoreData);
    ::unsetenv("CORVANE_REGISTRY");
    EXPECT_EQ(registryFilePath(), "\\etc\\corvane\\registry.ini");
}

TEST_F(System, Utf8IsReadStrictly) {
    const std::u16string bad = u"\xFFFD";
    const std::pair<std::string, std::u16string> cases[] = {
        {"", u""},
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"a\u00E9\u20AC\U0001F600"},
        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
        {"\xEF\xBF\xBF\xF4\x8F\xBF\xBF", u"\uFFFF\U0010FFFF"},
        {"\x80z", bad + u"z"},
        {"\xC0\xAF", bad + bad},            // too long for its value
        {"\xE0\x80\xAF", bad + bad + bad},  // too long for its value
        {"\xED\xA0\x80", bad + bad + bad},  // half of a pair
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},
        {"\xF5", bad},
        {"\xE2\x82", bad},  // cut off
        {"\xE2\x82z", bad + u"z"},
        {"\xF0\x9F\x98\xC3\xA9", bad + u"\u00E9"},
    };
    for (const auto& [utf8, utf16] : cases) EXPECT_EQ(utf8ToUtf16(utf8), utf16);
    EXPECT_EQ(utf16ToUtf8(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    const char16_t halves[] = {0xD83D, u'x', 0xDE00, 0xD83D};
    EXPECT_EQ(utf16ToUtf8({halves, 4}), "\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(systemCodePageToUtf8("a\xE9\xC3\xA9"), "a\xEF\xBF\xBD\xC3\xA9");
}

TEST_F(System, TheCodePageIsASetting) {
    EXPECT_EQ(systemCodePage(), kCodePageUtf8);
    EXPECT_EQ(utf16ToSystemCodePage(u"\u00E9"), "\xC3\xA9");
    setCodePage("1252");
    EXPECT_EQ(systemCodePage(), 1252U);
    EXPECT_EQ(utf16ToSystemCodePage(u"\u00E9\u20AC"), "\xE9\x80");
    EXPECT_EQ(utf16ToSystemCodePage(u"a\u4E2D\U0001F600z"), "a??z");
    EXPECT_EQ(systemCodePageToUtf8("\xE9\x80\x81z"), "\xC3\xA9\xE2\x82\xAC\xEF\xBF\xBDz");
    const std::u16string manyBad(100'000, u'\u4E2D');
    EXPECT_EQ(utf16ToSystemCodePage(manyBad), std::string(100'000, '?'));
    EXPECT_EQ(systemCodePageToUtf8(std::string(10'000, '\x80')).size(), 30'000U);
    setCodePage("932");
    EXPECT_EQ(utf16ToSystemCodePage(u"\u3042"), "\x82\xA0");
    EXPECT_EQ(systemCodePageToUtf8("\x82\xA0\x82"), "\xE3\x81\x82\xEF\xBF\xBD");  // cut off
    setCodePage("4711");
    EXPECT_EQ(utf16ToSystemCodePage(u"\u00E9"), "\xC3\xA9");
}

TEST_F(System, SectionsHoldWhatThereIsRoomFor) {
    AnonymousSection section;
    EXPECT_NE(section.create(0), 0U);
    EXPECT_NE(section.map(), 0U);
    EXPECT_EQ(section.data(), nullptr);
    EXPECT_NE(section.create(std::numeric_limits<size_t>::max() / 2), 0U);
    EXPECT_EQ(section.size(), 0U);
}

TEST_F(System, LibrariesAreLoadedByTheirPath) {
    Dl_info info{};
    ASSERT_NE(::dladdr(::dlsym(RTLD_DEFAULT, "cos"), &info), 0);
    ASSERT_TRUE(linkFile(fromNativePath(info.dli_fname), directory_.path("CVMath.so")));
    DynamicLibrary library;
    EXPECT_EQ(library.load(directory_.path("CVNone")), 2U);
    EXPECT_FALSE(library.problem().empty());
    ASSERT_TRUE(replaceFile(directory_.path("CVText.so"), "no library"));
    EXPECT_NE(library.load(directory_.path("CVText")), 0U);
    EXPECT_NE(library.problem().find("CVText.so"), std::string::npos);
    EXPECT_NE(library.load("libm"), 0U);
    EXPECT_FALSE(library.loaded());
    EXPECT_EQ(library.symbol("cos"), nullptr);
    ASSERT_EQ(library.load(directory_.path("cvmath")), 0U) << library.problem();
    EXPECT_EQ(library.function<double (*)(double)>("cos")(0.0), 1.0);
    EXPECT_EQ(library.symbol("CV_NoSuchName"), nullptr);
    DynamicLibrary other = std::move(library);
    EXPECT_FALSE(library.loaded());
    EXPECT_EQ(other.load(directory_.path("CVMath.so")), 0U);
    EXPECT_TRUE(fileExists(libraryDirectory() + "..\\bin\\test_platform"));
}

TEST_F(System, RandomBytesComeInSteps) {
    RandomSource source;
    std::array<uint8_t, 16> bytes{};
    EXPECT_FALSE(source.draw(bytes));
    EXPECT_FALSE(source.release());
    EXPECT_TRUE(source.acquire());
    EXPECT_TRUE(source.draw(bytes));
    EXPECT_NE(bytes, (std::array<uint8_t, 16>{}));
    EXPECT_TRUE(source.release());
    EXPECT_FALSE(source.draw(bytes));
    std::set<std::pair<uint32_t, uint16_t>> seen;
    for (int i = 0; i < 1000; ++i) {
        const Guid guid = newGuid();
        EXPECT_EQ(guid.data3 >> 12, 4);
        EXPECT_EQ(guid.data4[0] >> 6, 2);
        seen.emplace(guid.data1, guid.data2);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST_F(System, ErrorsBelongToTheirThread) {
    setLastError(kErrorInsufficientBuffer);
    std::thread([] { setLastError(5); }).join();
    EXPECT_EQ(lastError(), kErrorInsufficientBuffer);
    for (const uint32_t code : {2U, 122U, 234U, 1413U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(describeError(code).empty());
    }
}

}  // namespace
