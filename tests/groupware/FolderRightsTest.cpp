#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

#include "groupware/engine/AccessToken.h"
#include "groupware/engine/FolderRights.h"
#include "groupware/engine/MirrorTree.h"
#include "groupware/engine/Sharing.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/StoreDirectory.h"

using namespace groupware;

namespace {

constexpr const char* kAlice = "alice@example.test";
constexpr const char* kBob = "bob@example.test";
constexpr const char* kCarol = "carol@example.test";

class FolderRightsTest : public ::testing::Test {
  protected:
    FolderRightsTest() : engine_(store_.open()) {
        for (const char* address : {kAlice, kBob, kCarol}) {
            EXPECT_FALSE(addUser(*engine_, address, "", "secret"));
        }
        EXPECT_FALSE(addFolder(*engine_, kAlice, ItemKind::kEvent, "Work/Project"));
        EXPECT_FALSE(addFolder(*engine_, kBob, ItemKind::kContact, "Club"));
        EXPECT_FALSE(addPublicFolder(*engine_, ItemKind::kEvent, "Team/Events"));
        EXPECT_FALSE(addPublicFolder(*engine_, ItemKind::kTask, "To do"));
        setting("EnablePublicFolders", "1");
    }

    void setting(const char* key, const char* value) {
        platform::writeProfileText(store_.paths().mainSettings, "Public Folders", key, value);
    }
    void share(const char* owner, const char* folder, const char* with, uint32_t rights) {
        const auto problem = shareFolder(*engine_, owner, folder, with, rights);
        EXPECT_FALSE(problem) << *problem;
    }
    void grant(const char* folder, const char* to, uint32_t rights) {
        const auto problem = grantPublicFolder(*engine_, folder, to, rights);
        EXPECT_FALSE(problem) << *problem;
    }
    AccountRow account(const char* address) { return *engine_->database().account(address); }

    /// The folders in a list, each with its owner.
    std::string names(const std::vector<OwnedFolder>& folders) {
        std::string text;
        for (const auto& [owner, folder] : folders) {
            text += (text.empty() ? "" : " ") + owner.address + ":" + folder.name;
            EXPECT_TRUE(platform::directoryExists(engine_->folderDirectory(owner, folder)));
        }
        return text;
    }
    std::string shared(const char* address) {
        return names(sharedFolders(*engine_, account(address)));
    }
    std::string publicOnes(const char* address) {
        return names(publicFolders(*engine_, account(address)));
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
};

TEST_F(FolderRightsTest, GrantsComeAndGo) {
    ASSERT_FALSE(addAlias(*engine_, kBob, "info@example.test"));
    const auto before = engine_->database().accountVersion(account(kAlice).id);
    share(kAlice, "Calendar", "info@example.test", 2);
    EXPECT_GT(engine_->database().accountVersion(account(kAlice).id), before);
    share(kAlice, "Calendar", kBob, 16);
    const auto grants = engine_->database().grantsOn(account(kAlice).id);
    ASSERT_EQ(grants.size(), 1U);
    EXPECT_EQ(grants[0].address, kBob);
    EXPECT_EQ(grants[0].rights, 16U);

    EXPECT_TRUE(grantPublicFolder(*engine_, "To do", "nobody@example.test", 2));
    grant("To do", "Anyone", 2);
    EXPECT_FALSE(revokePublicFolder(*engine_, "to do", "anyone"));
    EXPECT_FALSE(unshareFolder(*engine_, kAlice, "calendar", kBob));
    EXPECT_TRUE(engine_->database().grantsTo(account(kBob).id).empty());
    EXPECT_TRUE(engine_->database().grantsTo(kAnyone).empty());
}

TEST_F(FolderRightsTest, NothingIsInheritedFromARemovedAccount) {
    share(kAlice, "Calendar", kBob, 511);
    share(kBob, "Club", kCarol, 511);
    grant("To do", kBob, 511);
    ASSERT_FALSE(removeUser(*engine_, kBob));
    EXPECT_EQ(shared(kCarol), "");
    ASSERT_FALSE(addUser(*engine_, kBob, "", "secret"));
    EXPECT_EQ(shared(kBob), "");
    EXPECT_EQ(publicOnes(kBob), "");
    EXPECT_TRUE(engine_->database().grantsOn(account(kAlice).id).empty());
}

TEST_F(FolderRightsTest, ListsLeadIntoTreesThatAreUpToDate) {
    share(kAlice, "Work/Project", kBob, 2);
    grant("To do", "anyone", 2);
    for (const std::string& root :
         {engine_->mailDirectory(account(kAlice)), store_.paths().publicFolders}) {
        ASSERT_TRUE(platform::removeDirectoryTree(root));
    }
    engine_ = store_.open();  // as in a process that has not looked there yet
    EXPECT_EQ(shared(kBob), "alice@example.test:Work/Project");
    EXPECT_EQ(publicOnes(kBob), ":To do");
}

TEST_F(FolderRightsTest, TokensAreKeptFromOtherReadersAndFollowTheirFolder) {
    const AccountRow alice = account(kAlice);
    const FolderRow work = *engine_->database().folder(alice.id, "Work");
    std::string token;
    std::string again;
    ASSERT_FALSE(makeAccessToken(*engine_, alice, "Work", token));
    std::string directory = engine_->folderDirectory(alice, work);
    const auto isKept = [&] {
        return tokenIn(directory) == token && platform::isPrivateFile(directory + "\\hiwater.mrk");
    };
    // The mirror mends the folder's class, and leaves the token and the mode.
    platform::writeProfileText(directory + "\\hiwater.mrk", "GroupWare", "FolderClass", "IPF.Note");
    EXPECT_EQ(store_.open()->mirrorDifferences(alice).size(), 1U);
    store_.open()->refreshMirror(alice.id);
    EXPECT_TRUE(engine_->mirrorDifferences(alice).empty());
    EXPECT_TRUE(isKept());
    ASSERT_FALSE(renameFolder(*engine_, kAlice, "work", "Job/New"));
    directory = engine_->mailDirectory(alice) + "Job.IMAP\\New.IMAP";
    EXPECT_TRUE(isKept());

    ASSERT_FALSE(removeAccessToken(*engine_, alice, "Job/New"));
    EXPECT_EQ(tokenIn(directory), "");
    ASSERT_FALSE(makeAccessToken(*engine_, alice, "Job/New", again));
    EXPECT_NE(again, token);

    // One that stands in the class file alone holds, follows, and is revoked.
    platform::writeProfileText(engine_->mailDirectory(alice) + "Tasks.IMAP\\hiwater.mrk", "WebDAV",
                               "ReadonlyAccessToken", "by hand");
    ASSERT_FALSE(renameFolder(*engine_, kAlice, "Tasks", "To do"));
    EXPECT_EQ(tokenIn(engine_->mailDirectory(alice) + "To do.IMAP"), "by hand");
    ASSERT_FALSE(removeAccessToken(*engine_, alice, "To do"));
    EXPECT_EQ(tokenIn(engine_->mailDirectory(alice) + "To do.IMAP"), "");
}

}  // namespace
