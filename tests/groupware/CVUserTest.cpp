#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "abi/CVUser.h"
#include "groupware/engine/Sharing.h"
#include "platform/DynamicLibrary.h"
#include "platform/Files.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/StoreDirectory.h"

using namespace groupware;

namespace {

#define CALL(operation, ...) bound<decltype(operation)>(#operation)(__VA_ARGS__)

/// Calls the operations as the extension module does: by name, from the loaded library.
class CVUserTest : public ::testing::Test {
  protected:
    CVUserTest() : engine_(store_.open()) {
        EXPECT_FALSE(addUser(*engine_, "alice@example.test", "Alice A.", "secret"));
        setenv("CORVANE_REGISTRY", store_.native("registry.ini").c_str(), 1);
        EXPECT_EQ(library_.load(platform::libraryDirectory() + "CVUser"), 0U) << library_.problem();
        CALL(CV_ReloadUsers);
    }
    ~CVUserTest() override {
        unsetenv("CORVANE_REGISTRY");
        Engine::closeOfProcess();
    }

    template <typename Operation>
    Operation* bound(const char* name) {
        return library_.function<Operation*>(name);
    }
    /// Each folder of a list with its name, class and directory.
    std::vector<std::string> listed(StoreUserHandle user, uint32_t kind) {
        StoreFolderRecord* folders = nullptr;
        uint32_t count = 0;
        EXPECT_TRUE(CALL(CV_GetIMAPFolderList, user, kind, &folders, &count));
        EXPECT_NE(folders, nullptr);
        std::vector<std::string> lines;
        for (uint32_t i = 0; i < count; ++i) {
            lines.push_back(std::string(folders[i].imapName) + " " + folders[i].folderClass + " " +
                            folders[i].directory);
        }
        CALL(CV_DeletePointer, folders, reinterpret_cast<void**>(&folders));
        return lines;
    }
    StoreUserHandle alice() { return CALL(CV_GetByEmail, "ALICE@example.test"); }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
    platform::DynamicLibrary library_;
};

TEST_F(CVUserTest, AccountsAreAsTheyWereWhenFound) {
    ASSERT_FALSE(addAlias(*engine_, "alice@example.test", "info@example.test"));
    EXPECT_EQ(CALL(CV_GetByEmail, "info@example.test"), STORE_NO_USER);
    EXPECT_EQ(CALL(CV_GetByAlias, "bob@example.test", ""), STORE_NO_USER);
    EXPECT_EQ(CALL(CV_GetByEmail, nullptr), STORE_NO_USER);
    EXPECT_EQ(CALL(CV_GetByEmail, ""), STORE_NO_USER);
    const StoreUserHandle user = CALL(CV_GetByAlias, "Info@example.test", "");
    ASSERT_NE(user, STORE_NO_USER);

    char text[STORE_NAME_SIZE];
    CALL(CV_GetEmail, user, text);
    EXPECT_STREQ(text, "alice@example.test");
    CALL(CV_GetFullName, user, text);
    EXPECT_STREQ(text, "Alice A.");
    CALL(CV_GetMailDir, user, text);
    EXPECT_EQ(text, store_.paths().mail + "\\example.test\\alice\\");
    EXPECT_TRUE(CALL(CV_ValidateUser, user, "secret"));
    EXPECT_FALSE(CALL(CV_ValidateUser, user, "Secret"));
    EXPECT_FALSE(CALL(CV_ValidateUser, user, nullptr));
    EXPECT_FALSE(CALL(CV_ValidateUser, STORE_NO_USER, "secret"));

    setUserFlag(*engine_, "alice@example.test", UserFlag::kFrozen, true);
    EXPECT_FALSE(CALL(CV_GetIsFrozen, user));
    const StoreUserHandle later = alice();
    EXPECT_TRUE(CALL(CV_GetIsFrozen, later));
    EXPECT_FALSE(CALL(CV_GetIsDisabled, later));
    EXPECT_FALSE(CALL(CV_GetMustChangePassword, later));
    EXPECT_FALSE(CALL(CV_IsPasswordTooOld, later));
    CALL(CV_GetFree, later);
    CALL(CV_GetFree, user);
}

TEST_F(CVUserTest, PasswordsExpire) {
    auto account = *engine_->database().account("alice@example.test");
    account.passwordExpiresMs = 1;
    const auto change = engine_->database().begin();
    change->updateAccount(account);
    change->commit();
    const StoreUserHandle user = alice();
    EXPECT_TRUE(CALL(CV_IsPasswordTooOld, user));
    CALL(CV_GetFree, user);
}

TEST_F(CVUserTest, DomainsAreListed) {
    ASSERT_FALSE(addDomain(*engine_, "another.test"));
    ASSERT_EQ(CALL(CV_GetDomainCount), 2U);
    char names[3 * STORE_DOMAIN_NAME_SIZE];
    std::memset(names, 'x', sizeof names);
    CALL(CV_GetDomainNames, names, 3U);
    EXPECT_STREQ(names, "another.test");
    EXPECT_STREQ(names + STORE_DOMAIN_NAME_SIZE, "example.test");
    EXPECT_STREQ(names + 2 * STORE_DOMAIN_NAME_SIZE, "");
}

TEST_F(CVUserTest, SettingsAreReadAndWritten) {
    char text[STORE_DB_PATH_SIZE];
    const std::pair<uint32_t, std::string> files[] = {
        {STORE_FILE_MAIN, store_.paths().mainSettings},
        {STORE_FILE_DOMAINS, store_.paths().domainSettings},
        {STORE_FILE_USER_SETTINGS, store_.paths().userSettings},
        {7, ""},
    };
    for (const auto& [id, path] : files) {
        CALL(CV_GetDBPath, text, id);
        EXPECT_EQ(text, path);
    }
    CALL(CV_GetStringKey, "Domain", "DomainName", "none", text, 8U, 0U);
    EXPECT_STREQ(text, "example");
    CALL(CV_GetStringKey, "Domain", "FQDN", "caf\xC3\xA9", text, 5U, 0U);
    EXPECT_STREQ(text, "caf");
    CALL(CV_SetStringKey, "Other", "Number", "-12", 0U);
    EXPECT_EQ(CALL(CV_GetIntKey, "Other", "Number", 3, 0U), -12);
    EXPECT_EQ(CALL(CV_GetIntKey, "Other", "None", 3, 0U), 3);

    const std::tuple<const char*, int, int> truths[] = {{"Yes", 1, 1}, {"true", 1, 1},  {"1", 1, 1},
                                                        {"No", 0, 0},  {"False", 0, 0}, {"0", 0, 0},
                                                        {"", 0, 1},    {"?", 0, 1}};
    for (const auto& [value, whenDefaultNo, whenDefaultYes] : truths) {
        CALL(CV_SetStringKey, "Other", "Truth", value, 0U);
        EXPECT_EQ(CALL(CV_GetBoolKey, "Other", "Truth", 0, 0U), whenDefaultNo) << value;
        EXPECT_EQ(CALL(CV_GetBoolKey, "Other", "Truth", 1, 0U), whenDefaultYes) << value;
    }
}

TEST_F(CVUserTest, FoldersAreListedAndGivenBack) {
    ASSERT_FALSE(
        addFolder(*engine_, "alice@example.test", ItemKind::kTask, "Work/\xC3\x89t\xC3\xA9"));
    const StoreUserHandle user = alice();
    StoreFolderRecord* folders = nullptr;
    uint32_t count = 0;
    ASSERT_TRUE(CALL(CV_GetIMAPFolderList, user, uint32_t{STORE_FOLDERS_OWN}, &folders, &count));
    ASSERT_EQ(count, 5U);
    EXPECT_STREQ(folders[0].imapName, "Calendar.IMAP");
    EXPECT_STREQ(folders[0].folderClass, "IPF.Appointment");
    EXPECT_STREQ(folders[4].imapName, "Work.IMAP\\&AMk-t&AOk-.IMAP");
    EXPECT_STREQ(folders[4].folderClass, "IPF.Task");
    EXPECT_TRUE(platform::directoryExists(folders[4].directory));
    char name[STORE_NAME_SIZE];
    CALL(CV_DecodeIMAPFolderName, folders[4].imapName, name, uint32_t{sizeof name});
    EXPECT_STREQ(name, "Work.IMAP\\\xC3\x89t\xC3\xA9.IMAP");
    CALL(CV_DecodeIMAPFolderName, "&AMk-t&AOk-", name, 5U);
    EXPECT_STREQ(name, "\xC3\x89t");
    const std::string calendar = folders[0].directory;
    CALL(CV_DeletePointer, folders, reinterpret_cast<void**>(&folders));
    EXPECT_EQ(folders, nullptr);

    for (const uint32_t kind : {uint32_t{STORE_FOLDERS_PUBLIC}, uint32_t{STORE_FOLDERS_SHARED}}) {
        EXPECT_EQ(listed(user, kind), std::vector<std::string>());
    }
    EXPECT_FALSE(CALL(CV_GetIMAPFolderList, user, 9U, &folders, &count));
    EXPECT_FALSE(CALL(CV_GetIMAPFolderList, STORE_NO_USER, 1U, &folders, &count));
    CALL(CV_GetFree, user);

    const auto rights = [&](const std::string& path, const char* actor) {
        return CALL(CV_GetSharedFolderAccessMask, path.c_str(), actor);
    };
    EXPECT_EQ(rights("", "alice@example.test"), 130U);
    EXPECT_EQ(rights(calendar, "Alice@example.test"), 511U);
    EXPECT_EQ(rights(calendar + "\\", "guest"), 0U);
    EXPECT_EQ(rights(calendar, ""), 0U);
    EXPECT_EQ(rights(calendar + "x", "alice@example.test"), 0U);
}

TEST_F(CVUserTest, FoldersOfOthersAreListedByTheirOwners) {
    ASSERT_FALSE(addUser(*engine_, "bob@example.test", "", "secret"));
    ASSERT_FALSE(
        addFolder(*engine_, "bob@example.test", ItemKind::kContact, "Club/\xC3\x89t\xC3\xA9"));
    ASSERT_FALSE(addPublicFolder(*engine_, ItemKind::kTask, "To do"));
    ASSERT_FALSE(shareFolder(*engine_, "bob@example.test", "Club/\xC3\x89t\xC3\xA9",
                             "alice@example.test", 2));
    ASSERT_FALSE(grantPublicFolder(*engine_, "To do", "anyone", 18));
    CALL(CV_SetStringKey, "Public Folders", "EnablePublicFolders", "1", 0U);

    const std::string club = "Club.IMAP\\&AMk-t&AOk-.IMAP";
    const std::string clubPath = store_.paths().mail + "\\example.test\\bob\\" + club;
    const StoreUserHandle user = alice();
    EXPECT_EQ(listed(user, STORE_FOLDERS_SHARED),
              std::vector<std::string>{"bob@example.test\\" + club + " IPF.Contact " + clubPath});
    CALL(CV_GetFree, user);
    const auto publicOne = [&](const std::string& path, const char* actor) {
        return CALL(CV_GetPublicFolderAccessMask, path.c_str(), actor);
    };
    EXPECT_EQ(publicOne(clubPath, "alice@example.test"), 0U);
    EXPECT_EQ(publicOne("", "alice@example.test"), 130U);
    EXPECT_EQ(CALL(CV_GetPublicFolderAccessMask, nullptr, "bob@example.test"), 130U);

    // They stand where the settings say, ready for guests, who have no handle.
    const std::string toDo = store_.paths().publicFolders + "\\To do.IMAP";
    EXPECT_EQ(CALL(CV_GetPublicFolderAccessMask, toDo.c_str(), nullptr), 2U);
    const std::string elsewhere = store_.paths().root + "\\Elsewhere";
    CALL(CV_SetStringKey, "Directories", "PublicFolders", (elsewhere + "\\").c_str(), 0U);
    EXPECT_EQ(CALL(CV_GetBoolKey, "Public Folders", "EnablePublicFolders", 0, 0U), 1);
    EXPECT_TRUE(platform::fileExists(elsewhere + "\\To do.IMAP\\TaskList.mrk"));
    EXPECT_EQ(publicOne(elsewhere + "\\To do.IMAP", "guest"), 2U);
    EXPECT_EQ(publicOne(toDo, "guest"), 0U);
}

TEST_F(CVUserTest, AnswersFailureWithoutAStore) {
    setenv("CORVANE_REGISTRY", "/nowhere/registry.ini", 1);
    CALL(CV_ReloadUsers);
    EXPECT_EQ(alice(), STORE_NO_USER);
    EXPECT_EQ(CALL(CV_GetDomainCount), 0U);
    EXPECT_EQ(CALL(CV_GetBoolKey, "Special", "FullEmailLogin", 1, 0U), 1);
    char text[STORE_DB_PATH_SIZE] = "x";
    CALL(CV_GetDBPath, text, 0U);
    EXPECT_STREQ(text, "");
    setenv("CORVANE_REGISTRY", store_.native("registry.ini").c_str(), 1);
    const StoreUserHandle user = alice();  // asked again, it is opened again
    EXPECT_NE(user, STORE_NO_USER);
    CALL(CV_GetFree, user);
}

}  // namespace
