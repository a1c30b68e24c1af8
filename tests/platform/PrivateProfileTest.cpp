#include <atomic>
#include <chrono>
#include <climits>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace platform;

namespace {

class PrivateProfile : public testing::Test {
  protected:
    void put(const std::string& text) { ASSERT_TRUE(replaceFile(file_, text)); }
    std::string text() { return readFile(file_, 1 << 20).value_or("(no file)"); }
    std::string read(const std::string& section, const std::string& key) {
        return readProfileText(file_, section, key, "(default)", 2047);
    }
    /// Lets the file grow old enough for its parsed form to be kept.
    static void settle() { std::this_thread::sleep_for(std::chrono::milliseconds(60)); }

    TemporaryDirectory directory_;
    std::string file_ = directory_.path("Settings.ini");
};

TEST_F(PrivateProfile, FollowsTheRulesOfTheFormat) {
    put("\xEF\xBB\xBFstray=1\r\n"
        "[First]\r\n"
        "Key=value\r\n"
        "KEY=second of its name\r\n"
        " Spaced \t=\t a b \r\n"
        "Quoted=\" kept \"\n"
        "Single='x'\n"
        "Half=\"open\n"
        "OneQuote=\"\n"
        "Empty=\n"
        "Equals=a=b;c\n"
        ";Comment=1\n"
        "  ; Comment2=1\n"
        "NoEquals\n"
        "=nameless\n"
        "[ [1.2.3.4]:UserDefaults ] \n"
        "Name=literal\n"
        "[first]\n"
        "Later=hidden\n"
        "[Open\n"
        "Last=no line end");
    const char* const cases[][3] = {
        {"First", "Key", "value"},          {"FIRST", " kEY ", "value"},
        {"First", "Spaced", "a b"},         {"First", "Quoted", " kept "},
        {"First", "Single", "x"},           {"First", "Half", "\"open"},
        {"First", "OneQuote", "\""},        {"First", "Empty", ""},
        {"First", "Equals", "a=b;c"},       {"First", "Comment", "(default)"},
        {"First", ";Comment", "(default)"}, {"First", "Comment2", "(default)"},
        {"First", "NoEquals", "(default)"}, {"First", "", "(default)"},
        {"First", "stray", "(default)"},    {"", "stray", "(default)"},
        {"First", "Later", "(default)"},    {"[1.2.3.4]:UserDefaults", "name", "literal"},
        {"Open", "Last", "no line end"},    {"Absent", "Key", "(default)"},
    };
    for (const auto& [section, key, value] : cases) EXPECT_EQ(read(section, key), value) << key;
}

TEST_F(PrivateProfile, CutsToTheBuffer) {
    put("[S]\nKey=" + std::string(300, 'x') + "\n");
    EXPECT_EQ(readProfileText(file_, "S", "Key", "", 256).size(), 255U);
    EXPECT_EQ(readProfileText(file_, "S", "Key", "", 512).size(), 300U);
    EXPECT_EQ(readProfileText(file_, "S", "None", "\xFF", 4), "\xFF");
    EXPECT_EQ(readProfileText(file_, "S", "None", "default", 4), "def");
    EXPECT_EQ(readProfileText(file_, "S", "Key", "", 0), "");
}

TEST_F(PrivateProfile, ReadsWholeNumbers) {
    put("[S]\nPlain=42\nSigned=-7\nPlus= +8\nTail=12kb\nWord=yes\nEmpty=\n"
        "Huge=99999999999999999999\nLow=-99999999999\n");
    const std::pair<const char*, int32_t> cases[] = {
        {"Plain", 42}, {"Signed", -7}, {"Plus", 8},       {"Tail", 12},    {"Word", 0},
        {"Empty", 0},  {"None", -1},   {"Huge", INT_MAX}, {"Low", INT_MIN}};
    for (const auto& [key, number] : cases)
        EXPECT_EQ(readProfileInt(file_, "S", key, -1), number) << key;
    EXPECT_EQ(readProfileInt(directory_.path("none.ini"), "S", "Plain", 5), 5);
}

TEST_F(PrivateProfile, WritesKeepEveryOtherByte) {
    put("; head\r\n[A]\r\n Name =  old \r\nname=hidden\r\n; tail\r\n\r\n[B]\r\nx=1");
    EXPECT_TRUE(writeProfileText(file_, "a", "NAME", "new"));
    EXPECT_TRUE(writeProfileText(file_, "A", "Added", "2"));
    EXPECT_TRUE(writeProfileText(file_, "B", "y", "2"));
    EXPECT_TRUE(writeProfileText(file_, "C", "z", " 'kept' "));
    EXPECT_EQ(text(),
              "; head\r\n[A]\r\n Name =  new\r\nname=hidden\r\n; tail\r\nAdded=2\r\n\r\n"
              "[B]\r\nx=1\r\ny=2\r\n\r\n[C]\r\nz=\" 'kept' \"\r\n");
    EXPECT_EQ(read("C", "z"), " 'kept' ");
    EXPECT_TRUE(removeProfileKey(file_, "A", "name"));
    EXPECT_EQ(read("A", "Name"), "(default)");
    EXPECT_EQ(text(),
              "; head\r\n[A]\r\n; tail\r\nAdded=2\r\n\r\n"
              "[B]\r\nx=1\r\ny=2\r\n\r\n[C]\r\nz=\" 'kept' \"\r\n");
}

TEST_F(PrivateProfile, WritesMakeWhatIsMissingAndNothingElse) {
    EXPECT_TRUE(removeProfileKey(file_, "S", "k"));
    EXPECT_FALSE(fileExists(file_));
    EXPECT_TRUE(writeProfileText(file_, "S", "k", "v"));
    EXPECT_EQ(text(), "[S]\nk=v\n");
    ::chmod(nativePath(file_).c_str(), 0600);
    EXPECT_TRUE(writeProfileText(directory_.path("SETTINGS.INI"), "S", "k", "w"));
    EXPECT_EQ(listDirectory(directory_.path()), std::vector<std::string>{"Settings.ini"});
    EXPECT_EQ(std::filesystem::status(nativePath(file_)).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    EXPECT_FALSE(writeProfileText(directory_.path("none\\x.ini"), "S", "k", "v"));
}

TEST_F(PrivateProfile, NoTextForgesALine) {
    put("[S]\nk=v\n");
    const std::string bad[] = {"a\r[T]", "a\nb=c", std::string("a\0b", 3)};
    for (const std::string& part : bad) {
        EXPECT_FALSE(writeProfileText(file_, "S", "k", part));
        EXPECT_FALSE(writeProfileText(file_, "S", part, "v"));
        EXPECT_FALSE(writeProfileText(file_, part, "k", "v"));
    }
    for (const char* key : {"", " ", "a=b", ";a", "[a"}) {
        EXPECT_FALSE(writeProfileText(file_, "S", key, "v")) << key;
    }
    EXPECT_EQ(text(), "[S]\nk=v\n");
}

TEST_F(PrivateProfile, SeesEveryChangeAtTheNextRead) {
    const auto rewrite = [this](char c) {
        FILE* file = std::fopen(nativePath(file_).c_str(), "w");
        std::fprintf(file, "[S]\nk=%c\n", c);
        std::fclose(file);
    };
    // Same file, same size, and for most of them the same time stamp as the one before.
    for (int i = 0; i < 500; ++i) {
        const char c = static_cast<char>('a' + i % 26);
        rewrite(c);
        ASSERT_EQ(read("S", "k"), std::string(1, c));
    }
    settle();
    EXPECT_EQ(read("S", "k").size(), 1U);
    // One whose time of writing is set back to that of the kept one.
    const auto time = std::filesystem::last_write_time(nativePath(file_));
    rewrite('Z');
    std::filesystem::last_write_time(nativePath(file_), time);
    EXPECT_EQ(read("S", "k"), "Z");
    settle();
    EXPECT_EQ(read("S", "k"), "Z");
    EXPECT_TRUE(writeProfileText(file_, "S", "k", "Y"));
    EXPECT_EQ(read("S", "k"), "Y");
    settle();
    EXPECT_EQ(read("S", "k"), "Y");
    EXPECT_TRUE(removeFile(file_));
    EXPECT_EQ(read("S", "k"), "(default)");
}

TEST_F(PrivateProfile, WritersInTwoProcessesLoseNothing) {
    constexpr int kKeys = 60;
    EXPECT_TRUE(twoAtOnce([this](const std::string& prefix) {
        bool all = true;
        for (int i = 0; i < kKeys; ++i)
            all = writeProfileText(file_, "S", prefix + std::to_string(i), "v") && all;
        return all;
    }));
    for (int i = 0; i < 2 * kKeys; ++i)
        EXPECT_EQ(read("S", (i % 2 == 0 ? "a" : "b") + std::to_string(i / 2)), "v");
}

TEST_F(PrivateProfile, ReadersInThreadsSeeWholeFiles) {
    put("[S]\na=0\nb=0\n");
    std::atomic<bool> stop = false;
    std::atomic<int> torn = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!stop) torn += read("S", "a").size() == 1 ? 0 : 1;
        });
    for (int i = 0; i < 200; ++i) writeProfileText(file_, "S", "a", std::to_string(i % 10));
    stop = true;
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(torn, 0);
}

}  // namespace
