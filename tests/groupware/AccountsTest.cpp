#include <gtest/gtest.h>

#include "groupware/engine/Accounts.h"
#include "groupware/engine/ModifiedUtf7.h"
#include "groupware/engine/Names.h"
#include "groupware/engine/PasswordChecker.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/StoreDirectory.h"

using namespace groupware;

namespace {

TEST(ModifiedUtf7Test, GoesThereAndBack) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"Work & Home", "Work &- Home"},
        {"Caf\xC3\xA9", "Caf&AOk-"},
        {"\xE5\x8F\xB0\xE5\x8C\x97", "&U,BTFw-"},
        {"a\xF0\x9F\x98\x80z", "a&2D3eAA-z"},
        {"~peter/mail", "~peter/mail"},
        {"\xC3\xA9&\xC3\xA9", "&AOk-&-&AOk-"},
        {"tab\there", "tab&AAk-here"},
    };
    for (const auto& [utf8, encoded] : cases) {
        EXPECT_EQ(encodeModifiedUtf7(utf8), encoded);
        EXPECT_EQ(decodeModifiedUtf7(encoded), utf8);
    }
    for (const char* bad : {"&", "a&AOk", "&AOk", "&A-", "&AO-", "&AOl-", "&AGE-", "&!!!!-",
                            "&2D3-", "&3gA-", "Caf\xC3\xA9", "&AOkA-", "&AOk-&AOk-"}) {
        EXPECT_EQ(decodeModifiedUtf7(bad), bad);
    }
}

TEST(NamesTest, OnlySafeOnesPass) {
    const std::string longest = std::string(76 - 13, 'm') + "@example.test";
    const std::string longLabel(45, 'd');
    for (const std::string& good : {std::string("alice@example.test"), std::string("a.b_c-d+e=f@x"),
                                    longest, "a@" + longLabel}) {
        EXPECT_TRUE(isAddress(good)) << good;
    }
    for (const std::string& bad :
         {"m" + longest, "a@d" + longLabel, std::string("a\0b@x", 5), std::string("a@x_.test")}) {
        EXPECT_FALSE(isAddress(bad)) << bad;
    }
    for (const char* bad :
         {"alice", "@example.test", "alice@", "a@b@x", "../x@example.test", "..@example.test",
          ".a@example.test", "a..b@x", "a.@x", "a\\b@x", "a/b@x", "a b@x", "a%s@x", "a\n@x", "a@..",
          "a@example..test", "a@-x.test", "\xC3\xA9@example.test"}) {
        EXPECT_FALSE(isAddress(bad)) << bad;
    }
    const std::string level(40, 'l');
    for (const std::string good :
         {"Work", "Work/Project", "\xD0\xA0\xD0\xB0\xD0\xB1", "R&D, 100%"}) {
        EXPECT_TRUE(isFolderName(good)) << good;
    }
    EXPECT_TRUE(isFolderName(level + "/" + level));
    EXPECT_FALSE(isFolderName(std::string(400, 'l')));
    EXPECT_FALSE(isFolderName(std::string_view("a\0", 2)));
    for (const char* bad : {"", "/Work", "Work/", "Work//Project", ".", "Work/..", "a\\b", "a\tb",
                            "a\x7F", " a", "a ", "a.", "bad\xC3", "\xED\xA0\x80"}) {
        EXPECT_FALSE(isFolderName(bad)) << bad;
    }
    for (const char* bad : {"Work.imap", "My.IMAP.folder", "b64=abc", "~shared", "a.ics", "a.VCF",
                            "1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17"}) {
        EXPECT_FALSE(isFolderName(bad)) << bad;
    }
}

class AccountsTest : public ::testing::Test {
  protected:
    AccountsTest() : engine_(store_.open()) {}

    std::string folderNames() {
        std::string names;
        const auto account = engine_->database().account("alice@example.test");
        for (const FolderRow& folder : engine_->database().folders(account->id)) {
            names += (names.empty() ? "" : " ") + folder.name;
        }
        return names;
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
};

TEST(DataDirectoryTest, IsMadeOnceAndOnlyInFreePlaces) {
    TemporaryDirectory directory;
    const std::string libraries = libraryStandIns(directory);
    const auto paths = DataPaths::below(directory.path("data") + "\\");
    EXPECT_TRUE(initDataDirectory(paths, "no domain", libraries));
    EXPECT_TRUE(initDataDirectory(DataPaths::below(directory.path()), "example.test", libraries));
    EXPECT_TRUE(initDataDirectory(DataPaths::below(directory.path(std::string(120, 'l'))),
                                  "example.test", libraries));
    EXPECT_TRUE(initDataDirectory(paths, "example.test", directory.path("nowhere")));
    EXPECT_FALSE(platform::directoryExists(paths.root));
    // What was broken off half-way can be asked for again.
    platform::createDirectories(paths.root);
    platform::replaceFile(paths.root + "\\registry.ini", "");
    EXPECT_THROW(Engine{paths}, DatabaseError);
    EXPECT_FALSE(initDataDirectory(paths, "Example.Test", libraries));
    EXPECT_TRUE(initDataDirectory(paths, "example.test", libraries));

    EXPECT_EQ(Engine(paths).database().domains(), std::vector<std::string>{"example.test"});
    EXPECT_EQ(platform::readProfileText(directory.path("data\\registry.ini"),
                                        "SOFTWARE\\Quindle Software\\Corvane", "IniPath", "", 300),
              paths.mainSettings);
    EXPECT_TRUE(platform::fileExists(directory.path("data\\bin\\CVCalendar.so")));
    const auto mode =
        std::filesystem::status(directory.native() + "/data/corvane.db").permissions();
    EXPECT_EQ(mode, std::filesystem::perms(0600));
}

TEST_F(AccountsTest, UsersComeAndGo) {
    EXPECT_FALSE(addUser(*engine_, "Alice@Example.test", "Alice", "secret"));
    EXPECT_TRUE(addAlias(*engine_, "alice@example.test", "alice@example.test"));
    EXPECT_FALSE(addAlias(*engine_, "alice@example.test", "Info@example.test"));
    EXPECT_TRUE(addUser(*engine_, "info@example.test", "", "secret"));
    EXPECT_EQ(engine_->database().accountByAlias("info@example.test")->address,
              "alice@example.test");
    EXPECT_TRUE(removeAlias(*engine_, "alice@example.test", "alice@example.test"));
    EXPECT_FALSE(removeAlias(*engine_, "alice@example.test", "info@example.test"));

    const std::string token =
        store_.paths().mail + "\\example.test\\alice\\Calendar.IMAP\\hiwater.mrk";
    platform::writeProfileText(token, "WebDAV", "ReadonlyAccessToken", "secret");
    EXPECT_FALSE(removeUser(*engine_, "alice@example.test"));
    EXPECT_FALSE(platform::directoryExists(store_.paths().mail + "\\example.test\\alice"));
    EXPECT_TRUE(removeUser(*engine_, "alice@example.test"));
    // Left over by a removal that was broken off.
    platform::createDirectories(store_.paths().mail + "\\example.test\\alice\\Calendar.IMAP");
    platform::writeProfileText(token, "WebDAV", "ReadonlyAccessToken", "secret");
    EXPECT_FALSE(addUser(*engine_, "alice@example.test", "Alice", "secret"));
    EXPECT_EQ(platform::readProfileText(token, "WebDAV", "ReadonlyAccessToken", "", 64), "");
}

TEST_F(AccountsTest, FoldersAreMadeWithTheLevelsAbove) {
    ASSERT_FALSE(addUser(*engine_, "alice@example.test", "", "secret"));
    const auto add = [&](const char* name) {
        return addFolder(*engine_, "alice@example.test", ItemKind::kTask, name);
    };
    EXPECT_FALSE(add("Work/Project/One"));
    EXPECT_FALSE(add("WORK/project/Two"));
    EXPECT_TRUE(add("work/PROJECT/two"));
    EXPECT_TRUE(add("calendar"));
    EXPECT_TRUE(add("../Work"));
    EXPECT_TRUE(add(std::string(250, 'l').c_str()));
    EXPECT_EQ(folderNames(),
              "Calendar Tasks Contacts Work Work/Project Work/Project/One Work/Project/Two");
    // Two names whose directories differ in the case of their letters only.
    EXPECT_FALSE(add("\xC3\xA9"));  // &AOk-
    EXPECT_TRUE(add("\xCA\x89"));   // &Aok-
    EXPECT_TRUE(addFolder(*engine_, "bob@example.test", ItemKind::kTask, "Work"));
}

TEST_F(AccountsTest, OnlyTheNewestPasswordIsRight) {
    ASSERT_FALSE(addUser(*engine_, "alice@example.test", "", "first"));
    const auto alice = [&] { return *engine_->database().account("alice@example.test"); };
    PasswordChecker& passwords = engine_->passwords();
    EXPECT_EQ(alice().passwordHash.rfind("$argon2id$v=19$m=19456,t=2,", 0), 0U);
    EXPECT_FALSE(passwords.isRight(alice(), "second"));
    for (int i = 0; i < 2; ++i) {  // computed, then known
        EXPECT_TRUE(passwords.isRight(alice(), "first"));
        EXPECT_FALSE(passwords.isRight(alice(), "first "));
    }
    EXPECT_FALSE(setPassword(*engine_, "alice@example.test", "second"));
    EXPECT_FALSE(passwords.isRight(alice(), "first"));
    EXPECT_TRUE(passwords.isRight(alice(), "second"));
    AccountRow other = alice();
    other.passwordHash.clear();
    EXPECT_FALSE(passwords.isRight(other, "second"));
    EXPECT_FALSE(passwords.isRight(AccountRow(), ""));
    EXPECT_TRUE(setPassword(*engine_, "bob@example.test", "second"));
}

}  // namespace
