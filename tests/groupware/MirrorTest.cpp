#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "groupware/engine/AccountHandle.h"
#include "groupware/engine/MirrorTree.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/StoreDirectory.h"
#include "tests/platform/Processes.h"

using namespace groupware;

namespace {

class MirrorTest : public ::testing::Test {
  protected:
    MirrorTest() : engine_(store_.open()) {
        AccountRow account;
        account.address = "alice@example.test";
        const auto change = engine_->database().begin();
        account.id = change->addAccount(account);
        calendar_ = change->addFolder(account.id, "Calendar", ItemKind::kEvent, true);
        change->addFolder(account.id, "Work", ItemKind::kTask, false);
        change->addFolder(account.id, "Work/\xC3\x89t\xC3\xA9", ItemKind::kContact, false);
        change->commit();
        account_ = account.id;
        root_ = engine_->mailDirectory(account);
        engine_->refreshMirror(account_);
    }

    void insertInto(Engine& engine, const std::string& uid) {
        const auto change = engine.database().begin();
        change->insertItem(calendar_, {uid, "text", "", {}});
        change->commit();
    }

    /// Empty when the whole tree is as the database has it.
    std::string difference() {
        for (const FolderRow& folder : engine_->database().folders(account_)) {
            const auto account = engine_->database().accountById(account_);
            const std::string directory = engine_->folderDirectory(*account, folder);
            const char* const kMarkers[] = {"", "\\Calendar.mrk", "\\TaskList.mrk",
                                            "\\AddrBook.mrk"};
            const char* const kClasses[] = {"", "IPF.Appointment", "IPF.Task", "IPF.Contact"};
            const auto kind = static_cast<size_t>(folder.kind);
            const auto marker = platform::readFile(directory + kMarkers[kind], 1000);
            if (!marker) return "no marker in " + directory;
            if (marker->find("lastModified=\"" + stampText(folder.stampMs) + "\"") ==
                std::string::npos) {
                return "another stamp in " + directory + ": " + *marker;
            }
            if (platform::readProfileText(directory + "\\hiwater.mrk", "GroupWare", "FolderClass",
                                          "", 64) != kClasses[kind]) {
                return "another class in " + directory;
            }
        }
        return "";
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
    int64_t account_ = -1;
    FolderKey calendar_;
    std::string root_;
};

TEST_F(MirrorTest, StandsWhereOtherProgramsLook) {
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(stampText(1795261200123), "2026-11-21T11:40:00.123Z");
    EXPECT_TRUE(platform::fileExists(store_.paths().mail +
                                     "\\example.test\\alice\\Work.IMAP\\&AMk-t&AOk-.IMAP\\"
                                     "hiwater.mrk"));
    EXPECT_TRUE(platform::fileExists(root_ + "WS\\User.ini"));
}

TEST_F(MirrorTest, FollowsEveryChange) {
    for (const char* uid : {"a", "b", "c"}) {
        insertInto(*engine_, uid);
        EXPECT_NE(difference(), "");
        engine_->refreshMirror(account_);
        EXPECT_EQ(difference(), "");
    }
}

TEST_F(MirrorTest, IsMadeGood) {
    const std::string marker = root_ + "Calendar.IMAP\\Calendar.mrk";
    const std::string classFile = root_ + "Calendar.IMAP\\hiwater.mrk";
    // The last one is made good by the next process only.
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"deleted marker", [&] { platform::removeFile(marker); }},
        {"old marker", [&] { platform::replaceFile(marker, "<a lastModified=\"1\"/>"); }},
        {"old marker and a change",
         [&] {
             platform::replaceFile(marker, "<a lastModified=\"1\"/>");
             insertInto(*engine_, "change");
         }},
        {"another process's commit",
         [&] {
             const auto other = store_.open();
             insertInto(*other, "other process");
         }},
        {"missing directory", [&] { platform::removeDirectoryTree(root_ + "Work.IMAP"); }},
        {"missing account directory", [&] { platform::removeDirectoryTree(root_); }},
        {"wrong class",
         [&] { platform::writeProfileText(classFile, "GroupWare", "FolderClass", "IPF.Note"); }},
    };
    for (const auto& [what, damage] : cases) {
        damage();
        EXPECT_NE(difference(), "") << what;
        if (what == std::string("wrong class")) engine_ = store_.open();
        engine_->refreshMirror(account_);
        EXPECT_EQ(difference(), "") << what;
    }
}

TEST_F(MirrorTest, OfVeryManyFoldersSomeAreLookedAtEachTime) {
    const auto change = engine_->database().begin();
    for (int i = 0; i < 150; ++i) {
        change->addFolder(account_, "F" + std::to_string(i), ItemKind::kTask, false);
    }
    change->commit();
    engine_->refreshMirror(account_);
    for (const char* damaged : {"Calendar.IMAP", "F77.IMAP", "Work.IMAP"}) {
        platform::removeDirectoryTree(root_ + damaged);
        for (int look = 0; look < 3; ++look) engine_->refreshMirror(account_);
        EXPECT_EQ(difference(), "") << damaged;
    }
}

TEST_F(MirrorTest, KeepsWhatIsNotItsOwn) {
    const std::string classFile = root_ + "Calendar.IMAP\\hiwater.mrk";
    platform::writeProfileText(classFile, "WebDAV", "ReadonlyAccessToken", "secret");
    platform::writeProfileText(classFile, "GroupWare", "FolderClass", "IPF.Task");
    const std::string mailFolder = root_ + "Inbox.IMAP";
    platform::createDirectories(mailFolder);
    platform::writeProfileText(mailFolder + "\\hiwater.mrk", "GroupWare", "FolderClass",
                               "IPF.Note");
    platform::createDirectories(root_ + "Gone.IMAP\\Deep.IMAP");
    for (const char* gone : {"Gone.IMAP", "Gone.IMAP\\Deep.IMAP"}) {
        platform::writeProfileText(root_ + gone + "\\hiwater.mrk", "GroupWare", "FolderClass",
                                   "IPF.Task");
    }
    platform::createDirectories(root_ + "Kept.IMAP");
    platform::createDirectories(root_ + "Work.IMAP\\Mail.IMAP");

    engine_ = store_.open();
    engine_->refreshMirror(account_);
    EXPECT_EQ(difference(), "");
    EXPECT_EQ(platform::readProfileText(classFile, "WebDAV", "ReadonlyAccessToken", "", 64),
              "secret");
    EXPECT_TRUE(platform::directoryExists(mailFolder));
    EXPECT_TRUE(platform::directoryExists(root_ + "Kept.IMAP"));
    EXPECT_TRUE(platform::directoryExists(root_ + "Work.IMAP\\Mail.IMAP"));
    EXPECT_FALSE(platform::directoryExists(root_ + "Gone.IMAP"));
}

TEST_F(MirrorTest, WhatCannotBeWrittenTellsNoOldStamp) {
    insertInto(*engine_, "change");
    const std::string marker = root_ + "Calendar.IMAP\\Calendar.mrk";
    platform::removeFile(marker);
    platform::createDirectories(marker + "\\in the way");
    engine_->refreshMirror(account_);  // neither raised nor taken for done
    EXPECT_FALSE(platform::fileExists(marker));
    platform::removeDirectoryTree(marker);
    engine_->refreshMirror(account_);
    EXPECT_EQ(difference(), "");
}

TEST_F(MirrorTest, FoldersAreFoundByTheirDirectories) {
    const auto nameOf = [this](const std::string& directory) {
        const auto folder = engine_->folderByDirectory(directory);
        return folder ? folder->name : "none";
    };
    for (const char* name : {"Calendar.IMAP", "Calendar.IMAP\\", "cALENDAR.imap"}) {
        EXPECT_EQ(nameOf(root_ + name), "Calendar") << name;
    }
    for (const char* name : {"Work.IMAP\\&AMk-t&AOk-.IMAP", "Work.IMAP\\\xC3\x89t\xC3\xA9.IMAP"}) {
        EXPECT_EQ(nameOf(root_ + name), "Work/\xC3\x89t\xC3\xA9") << name;
    }
    for (const std::string& none :
         {root_, root_ + "Work.IMAP/&AMk-t&AOk-.IMAP", root_ + "Calendar", root_ + ".IMAP",
          root_ + "..\\alice\\Calendar.IMAP", store_.paths().mail, std::string(),
          store_.paths().mail + "\\example.test\\bob\\Calendar.IMAP",
          store_.paths().publicFolders + "\\Calendar.IMAP"}) {
        EXPECT_EQ(nameOf(none), "none") << none;
    }
}

TEST_F(MirrorTest, ThreadsLeaveTheNewestStamp) {
    std::vector<std::thread> threads;
    for (const std::string name : {"a", "b", "c"}) {
        threads.emplace_back([this, name] {
            for (int i = 0; i < 20; ++i) {
                insertInto(*engine_, name + std::to_string(i));
                engine_->refreshMirror(account_);
                EXPECT_TRUE(engine_->folderByDirectory(root_ + "Calendar.IMAP"));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(difference(), "");
}

TEST_F(MirrorTest, ProcessesLeaveTheNewestStamp) {
    engine_.reset();
    EXPECT_TRUE(twoAtOnce([&](const std::string& name) {
        const auto engine = store_.open();
        for (int i = 0; i < 30; ++i) {
            insertInto(*engine, name + std::to_string(i));
            engine->refreshMirror(account_);
        }
        return true;
    }));
    engine_ = store_.open();
    EXPECT_EQ(difference(), "");
}

}  // namespace
