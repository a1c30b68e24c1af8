#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "platform/Error.h"
#include "platform/Files.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace platform;

namespace {

class Files : public testing::Test {
  protected:
    std::string at(const std::string& name) { return directory_.path(name); }
    unsigned modeOf(const std::string& path) {
        struct stat status {};
        ::stat(nativePath(path).c_str(), &status);
        return status.st_mode & 07777;
    }
    std::vector<std::string> names() {
        std::vector<std::string> all = listDirectory(directory_.path());
        std::ranges::sort(all);
        return all;
    }

    TemporaryDirectory directory_;
};

TEST_F(Files, PlainNames) {
    for (const char* name : {"a", "...", "a b", "C:", ".hidden", "\xC3\xA9"}) {
        EXPECT_TRUE(isPlainName(name)) << name;
    }
    for (const char* name : {"", ".", "..", "a\\b", "a/b", "\\", "/"}) {
        EXPECT_FALSE(isPlainName(name)) << name;
    }
    EXPECT_FALSE(isPlainName(std::string_view("a\0b", 3)));
}

TEST_F(Files, PathsMeetNamesWithoutRegardToCase) {
    ASSERT_TRUE(createDirectories(at("Mail\\Example.Test\\Alice")));
    ASSERT_TRUE(std::filesystem::create_directory(directory_.native() + "/both"));
    ASSERT_TRUE(std::filesystem::create_directory(directory_.native() + "/Both"));
    ASSERT_TRUE(replaceFile(at("Mail\\Example.Test\\Alice\\hiwater.mrk"), "x"));
    const std::string root = directory_.native();
    const std::pair<const char*, std::string> cases[] = {
        {"Mail\\Example.Test\\Alice", root + "/Mail/Example.Test/Alice"},
        {"MAIL\\example.test\\ALICE\\", root + "/Mail/Example.Test/Alice/"},
        {"Mail\\example.test\\alice\\HIWATER.MRK", root + "/Mail/Example.Test/Alice/hiwater.mrk"},
        {"mail\\\\example.test\\New\\Deep", root + "/Mail//Example.Test/New/Deep"},
        {"both", root + "/both"},
        {"Both", root + "/Both"},
        {"BOTH", root + "/Both"},
        {"mail\\..\\BOTH", root + "/Mail/../Both"},
        {"Absent", root + "/Absent"},
    };
    for (const auto& [path, native] : cases) EXPECT_EQ(nativePath(at(path)), native) << path;
    EXPECT_EQ(nativePath("\\"), "/");
    EXPECT_EQ(nativePath(""), "");
    EXPECT_EQ(nativePath("C:\\x"), "C:/x");
    EXPECT_EQ(nativePath(std::string_view("\\etc\0x", 6)), "");
    EXPECT_FALSE(fileExists(std::string_view("\\etc\\passwd\0x", 13)));
    EXPECT_FALSE(directoryExists(""));
    EXPECT_TRUE(fileExists(at("MAIL\\EXAMPLE.TEST\\alice\\Hiwater.Mrk")));
    EXPECT_FALSE(directoryExists(at("MAIL\\EXAMPLE.TEST\\alice\\Hiwater.Mrk")));
    EXPECT_TRUE(directoryExists(at("mail")));
}

TEST_F(Files, PathsThatAPersonTyped) {
    const std::string here = fromNativePath(std::filesystem::current_path().native());
    const std::pair<const char*, std::string> cases[] = {{"/a/b", "\\a\\b"},
                                                         {"//a/./b//", "\\a\\b"},
                                                         {"/a/../b", "\\a\\..\\b"},
                                                         {"/", "\\"},
                                                         {"", ""},
                                                         {"./data", here + "\\data"},
                                                         {".", here},
                                                         {".hidden", here + "\\.hidden"}};
    for (const auto& [typed, path] : cases) EXPECT_EQ(fromNativePath(typed), path) << typed;
}

TEST_F(Files, DirectoriesAreMadeInWhatIsThere) {
    EXPECT_TRUE(createDirectories(at("Top\\One"), 0700));
    EXPECT_TRUE(createDirectories(at("TOP\\one\\Two\\"), 0700));
    EXPECT_TRUE(createDirectories(at("top")));
    EXPECT_EQ(names(), std::vector<std::string>{"Top"});
    EXPECT_EQ(modeOf(at("Top\\One\\Two")), 0700U);
    ASSERT_TRUE(replaceFile(at("file"), ""));
    EXPECT_FALSE(createDirectories(at("file")));
    EXPECT_FALSE(createDirectories(at("FILE\\below")));
    EXPECT_FALSE(createDirectories(""));
}

TEST_F(Files, TreesAreRemovedButNotWhatLinksLeadTo) {
    ASSERT_TRUE(createDirectories(at("kept")));
    ASSERT_TRUE(replaceFile(at("kept\\file"), "x"));
    ASSERT_TRUE(createDirectories(at("Tree\\a\\b")));
    ASSERT_TRUE(replaceFile(at("Tree\\a\\file"), "x"));
    ASSERT_TRUE(linkFile(at("kept"), at("Tree\\link")));
    EXPECT_FALSE(removeDirectoryTree(at("kept\\file")));
    EXPECT_TRUE(removeDirectoryTree(at("TREE")));
    EXPECT_TRUE(removeDirectoryTree(at("TREE")));
    EXPECT_TRUE(fileExists(at("kept\\file")));
    EXPECT_FALSE(removeDirectoryTree(""));
    EXPECT_FALSE(removeFile(at("kept")));
    EXPECT_TRUE(removeFile(at("KEPT\\FILE")));
    EXPECT_FALSE(removeFile(at("kept\\file")));
}

TEST_F(Files, RenamesReplaceAndChangeCase) {
    ASSERT_TRUE(replaceFile(at("a.log"), "new"));
    ASSERT_TRUE(replaceFile(at("A.old"), "older"));
    EXPECT_TRUE(renameFile(at("a.log"), at("a.OLD")));
    EXPECT_EQ(names(), std::vector<std::string>{"A.old"});
    EXPECT_EQ(readFile(at("A.old"), 10), "new");
    EXPECT_TRUE(renameFile(at("a.old"), at("a.OLD")));
    EXPECT_EQ(names(), std::vector<std::string>{"a.OLD"});
    EXPECT_FALSE(renameFile(at("none"), at("x")));
    EXPECT_EQ(lastError(), 2U);
}

TEST_F(Files, ReadsWithinABound) {
    ASSERT_TRUE(replaceFile(at("f"), std::string(1000, 'x')));
    EXPECT_EQ(readFile(at("f"), 1000), std::string(1000, 'x'));
    EXPECT_EQ(readFile(at("f"), 999), std::nullopt);
    EXPECT_EQ(readFile(at("none"), 10), std::nullopt);
    EXPECT_EQ(readFile(at(""), 10), std::nullopt);
    EXPECT_GT(readFile("\\proc\\self\\maps", SIZE_MAX).value_or("").size(), 2000U);
    EXPECT_EQ(readFile("\\dev\\zero", 200'000), std::nullopt);
}

TEST_F(Files, ReplacingKeepsLinksAndLeavesNothingBehind) {
    EXPECT_TRUE(replaceFile(at("real"), "1", 0604, true));
    EXPECT_EQ(modeOf(at("real")), 0604U);
    ASSERT_TRUE(linkFile(at("real"), at("link")));
    EXPECT_TRUE(replaceFile(at("link"), "2", 0600));
    EXPECT_EQ(readFile(at("real"), 10), "2");
    EXPECT_TRUE(std::filesystem::is_symlink(nativePath(at("link"))));
    ASSERT_TRUE(createDirectories(at("dir")));
    EXPECT_FALSE(replaceFile(at("dir"), "3"));
    EXPECT_FALSE(replaceFile(at("none\\x"), "3"));
    EXPECT_FALSE(replaceFile("", "3"));
    ASSERT_TRUE(linkFile(at("dir"), at("LINK")));
    EXPECT_TRUE(directoryExists(at("link")));
    EXPECT_EQ(names(), (std::vector<std::string>{"dir", "link", "real"}));
}

TEST_F(Files, WritesOverAFileOfTheSameLengthOnly) {
    ASSERT_TRUE(replaceFile(at("f"), "first"));
    ASSERT_TRUE(replaceFile(at("kept"), "first"));
    std::filesystem::create_hard_link(nativePath(at("kept")), nativePath(at("copy")));
    ASSERT_TRUE(createDirectories(at("dir")));
    EXPECT_TRUE(overwriteFile(at("F"), "other"));
    EXPECT_EQ(readFile(at("f"), 10), "other");
    for (const char* name : {"f", "kept", "dir", "none"}) {
        EXPECT_FALSE(overwriteFile(at(name), name[0] == 'f' ? "longer" : "other")) << name;
    }
    EXPECT_EQ(readFile(at("f"), 10), "other");
    EXPECT_EQ(readFile(at("copy"), 10), "first");
}

TEST_F(Files, AFailedReplacementLeavesTheOldFile) {
    ASSERT_TRUE(replaceFile(at("f"), "old"));
    const pid_t child = startProcess([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{1000, 1000};
        ::setrlimit(RLIMIT_FSIZE, &small);
        return !replaceFile(at("f"), std::string(5000, 'x')) &&
               lastError() == static_cast<uint32_t>(EFBIG);
    });
    EXPECT_TRUE(endedWell(child));
    EXPECT_EQ(readFile(at("f"), 10), "old");
    const auto stamp = fileStamp(at("f"));
    EXPECT_TRUE(replaceFile(at("F"), "edited", 0640, false, stamp));
    EXPECT_FALSE(replaceFile(at("f"), "late", 0640, false, stamp));
    EXPECT_EQ(lastError(), kErrorFileChanged);
    EXPECT_EQ(readFile(at("f"), 10), "edited");
    EXPECT_EQ(names(), std::vector<std::string>{"f"});
}

TEST_F(Files, AppendsWhateverOthersDoToTheFile) {
    const auto log = AppendFile::open(at("Log.txt"), 0600);
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(modeOf(at("Log.txt")), 0600U);
    EXPECT_TRUE(log->write("one\n"));
    const auto other = AppendFile::open(at("LOG.TXT"));
    ASSERT_NE(other, nullptr);
    EXPECT_TRUE(other->write("two\n"));
    EXPECT_EQ(log->length(), 8);
    EXPECT_TRUE(renameFile(at("log.txt"), at("Log.old")));
    EXPECT_TRUE(log->write("three\n"));
    EXPECT_EQ(readFile(at("Log.old"), 100), "one\ntwo\nthree\n");
    EXPECT_TRUE(log->close());
    EXPECT_FALSE(log->write("four\n"));
    EXPECT_EQ(AppendFile::open(at("Log.old"), 0600, true)->length(), 0);
    EXPECT_EQ(AppendFile::open(at("none\\x")), nullptr);
}

TEST_F(Files, LocksExcludeThreadsAndGoWithTheirProcess) {
    // The child ends without giving its lock back.
    const pid_t child =
        startProcess([&] { return FileLock::acquire(at("lock")).release() != nullptr; });
    EXPECT_TRUE(endedWell(child));
    auto lock = FileLock::acquire(at("lock"));
    ASSERT_NE(lock, nullptr);
    std::atomic<bool> inside = false;
    std::thread other([&] {
        const auto second = FileLock::acquire(at("lock"));
        inside = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(inside);
    // Whoever waits must not end up with the lock of a file that is gone.
    EXPECT_TRUE(removeFile(at("lock")));
    lock.reset();
    other.join();
    EXPECT_TRUE(inside);
    EXPECT_TRUE(fileExists(at("lock")));
    EXPECT_EQ(FileLock::acquire(at("none\\lock")), nullptr);
}

TEST_F(Files, WaitingForALockHasAnEnd) {
    auto lock = FileLock::acquire(at("lock"));
    for (const int limit : {0, 30}) {
        EXPECT_EQ(FileLock::acquire(at("lock"), std::chrono::milliseconds(limit)), nullptr);
        EXPECT_TRUE(isTimeout(lastError()));
    }
    std::thread giveBack([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        lock.reset();
    });
    EXPECT_NE(FileLock::acquire(at("lock"), std::chrono::minutes(1)), nullptr);
    giveBack.join();
}

TEST_F(Files, NewOnesTakeTheirPlaceWholeOrNotAtAll) {
    for (const bool placed : {false, true}) {
        const auto file = NewFile::make(at("new"), 0600);
        ASSERT_NE(file, nullptr);
        EXPECT_TRUE(file->write("one ") && file->write("two"));
        EXPECT_FALSE(fileExists(at("new")));
        if (placed) {
            EXPECT_TRUE(file->place());
        }
    }
    EXPECT_EQ(names(), std::vector<std::string>{"new"});
    EXPECT_EQ(readFile(at("new"), 100), "one two");
    EXPECT_FALSE(NewFile::make(at("new"), 0600)->place());
    EXPECT_EQ(NewFile::make(at("none\\new"), 0600), nullptr);
    EXPECT_TRUE(isPrivateFile(at("new")));
    ::chmod(nativePath(at("new")).c_str(), 0664);
    EXPECT_FALSE(isPrivateFile(at("new")));
    EXPECT_TRUE(makePrivate(at("new")));
    EXPECT_EQ(modeOf(at("new")), 0600U);
}

TEST_F(Files, TellWhenTheyWereWritten) {
    ASSERT_TRUE(replaceFile(at("f"), ""));
    timespec times[2] = {{0, UTIME_NOW}, {1495202587, 123'999'999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, nativePath(at("f")).c_str(), times, 0), 0);
    EXPECT_EQ(lastWriteTime(at("F")), (DateTime{2017, 5, 5, 19, 14, 3, 7, 123}));
    EXPECT_EQ(lastWriteTime(at("none")), std::nullopt);
}

}  // namespace
