#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "groupware/db/SqliteConnection.h"
#include "groupware/engine/AccessToken.h"
#include "groupware/engine/MirrorTree.h"
#include "groupware/engine/Names.h"
#include "groupware/items/Transfer.h"
#include "groupware/upkeep/Archive.h"
#include "groupware/upkeep/Backup.h"
#include "groupware/upkeep/Check.h"
#include "groupware/upkeep/Manifest.h"
#include "platform/PrivateProfile.h"
#include "tests/groupware/StoreDirectory.h"

using namespace groupware;

namespace {

constexpr const char* kAlice = "alice@example.test";

std::string event(const std::string& uid) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Test//EN\r\nBEGIN:VEVENT\r\nUID:" + uid +
           "\r\nDTSTAMP:20250101T000000Z\r\nDTSTART:20250110T090000Z\r\nEND:VEVENT\r\n"
           "END:VCALENDAR\r\n";
}

class UpkeepTest : public ::testing::Test {
  protected:
    UpkeepTest() : engine_(store_.open()) {
        EXPECT_FALSE(addUser(*engine_, kAlice, "", "secret"));
        EXPECT_FALSE(addUser(*engine_, "bob@example.test", "", "secret"));
        EXPECT_FALSE(addAlias(*engine_, kAlice, "info@example.test"));
        EXPECT_FALSE(addFolder(*engine_, kAlice, ItemKind::kEvent, "Work"));
        for (const char* uid : {"one", "two"}) importText("Calendar", event(uid));
        importText("Contacts", "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:c\r\nFN:C\r\nEND:VCARD\r\n");
        alice_ = *engine_->findAccount(kAlice);
        EXPECT_FALSE(makeAccessToken(*engine_, alice_, "Work", token_));
    }

    void importText(const char* folder, const std::string& text) {
        const auto account = engine_->findAccount(kAlice);
        const auto row = engine_->database().folder(account->id, folder);
        EXPECT_EQ(importItems(*engine_, *row, text).imported, 1U);
    }
    void sql(const char* statements) {
        SqliteConnection(store_.paths().database).execute(statements);
    }
    /// All that a client goes by to tell whether something has changed.
    std::string stateOf(Engine& engine, const char* folder) {
        const auto row = engine.database().folder(alice_.id, folder);
        engine.refreshMirror(alice_.id);
        const std::string marker =
            engine.folderDirectory(alice_, *row) + "\\" + markerName(row->kind);
        std::string state = platform::readFile(marker, 1000).value_or("no marker");
        engine.database().eachItem(row->key, [&](StoredItem&& item) {
            state += std::to_string(item.row.number) + " " + std::to_string(item.row.modifiedMs) +
                     " " + item.row.uid + " " + item.row.identifier + "\n" + item.text;
        });
        return state;
    }
    std::string mailbox(const std::string& name) { return engine_->mailDirectory(alice_) + name; }
    std::vector<Fault> check(bool repair) {
        return checkDataDirectory(*store_.open(), store_.libraries(), repair, {}).faults;
    }

    StoreDirectory store_;
    std::unique_ptr<Engine> engine_;
    AccountRow alice_;
    std::string token_;
};

struct Damage {
    const char* fault;  ///< words of it
    std::function<void()> damage;
    bool mendable = true;
};

TEST_F(UpkeepTest, ChecksAndMends) {
    const std::string classFile = mailbox("Work.IMAP\\hiwater.mrk");
    const std::string left = mailbox(".0123456789abcdef01234567.tmp");
    const auto writeText = [](const std::string& file, const char* section, const char* key) {
        EXPECT_TRUE(platform::writeProfileText(file, section, key, "other"));
    };
    const Damage damages[] = {
        {"of no account",
         [&] { sql("PRAGMA foreign_keys=0; INSERT INTO alias VALUES('x@example.test', 77)"); }},
        {"alias that is", [&] { sql("INSERT INTO alias VALUES('bob@example.test', 1)"); }},
        {"items of no folder",
         [&] {
             sql("PRAGMA foreign_keys=0; INSERT INTO item VALUES(1, 77, 1, 1, 'u', '', 0, 0, 0, "
                 "'')");
         }},
        {"or are none", [&] { sql("INSERT INTO folder_grant VALUES(1, 1, 2, 512)"); }},
        {"not hosted", [&] { sql("DELETE FROM domain"); }},
        {"several default", [&] { sql("UPDATE folder SET is_default=1 WHERE name='Work'"); }},
        {"folders are numbered", [&] { sql("UPDATE account SET last_folder=1 WHERE id=1"); }},
        {"items are numbered", [&] { sql("UPDATE folder SET last_item=0 WHERE name='Calendar'"); }},
        {"same stamp", [&] { sql("UPDATE item SET modified=5"); }},
        {"newer than", [&] { sql("UPDATE folder SET stamp=1 WHERE name='Calendar'"); }},
        {"without an identifier", [&] { sql("UPDATE item SET identifier=''"); }},
        {"another UID", [&] { sql("UPDATE item SET uid='x' WHERE uid='one'"); }},
        {"another time", [&] { sql("UPDATE item SET last_end=0 WHERE uid='one'"); }},
        {"another class", [&] { writeText(classFile, "GroupWare", "FolderClass"); }},
        {"another access token", [&] { writeText(classFile, "WebDAV", "ReadonlyAccessToken"); }},
        {"others may read the class file",
         [&] {
             std::filesystem::permissions(platform::nativePath(classFile),
                                          std::filesystem::perms(0644));
         }},
        {"another stamp", [&] { platform::replaceFile(mailbox("Work.IMAP\\Calendar.mrk"), "x"); }},
        {"directory is missing", [&] { platform::removeDirectoryTree(mailbox("Work.IMAP")); }},
        {"no folder",
         [&] {
             platform::createDirectories(mailbox("Gone.IMAP"));
             platform::writeProfileText(mailbox("Gone.IMAP\\hiwater.mrk"), "GroupWare",
                                        "FolderClass", "IPF.Task");
         }},
        {"User.ini", [&] { platform::removeFile(mailbox("WS\\User.ini")); }},
        {"ghost belongs to no account",
         [&] { platform::createDirectories(store_.paths().mail + "\\example.test\\ghost\\WS"); }},
        {"left over",
         [&] {
             platform::replaceFile(left, "");
             std::filesystem::last_write_time(
                 platform::nativePath(left),
                 std::filesystem::file_time_type::clock::now() - std::chrono::hours(2));
         }},
        {"IniPath",
         [&] {
             writeText(store_.paths().root + "\\registry.ini",
                       "SOFTWARE\\Quindle Software\\Corvane", "IniPath");
         }},
        {"no directory", [&] { platform::removeDirectoryTree(store_.paths().root + "\\Logs"); }},
        {"UserSettings.ini", [&] { platform::removeFile(store_.paths().userSettings); }},
        {"the domain example.test",
         [&] { platform::replaceFile(store_.paths().domainSettings, ""); }},
        {"no library", [&] { platform::removeFile(store_.paths().root + "\\bin\\CVUser.so"); }},
        {"others may read",
         [&] {
             std::filesystem::permissions(store_.native("corvane.db"),
                                          std::filesystem::perms(0644));
         }},
        {"cannot be read, since", [&] { sql("UPDATE item SET text='garbage' WHERE uid='two'"); },
         false},
        {"kind is unknown", [&] { sql("UPDATE folder SET kind=9 WHERE name='Work'"); }, false},
    };
    EXPECT_TRUE(check(false).empty());
    for (const Damage& damage : damages) {
        damage.damage();
        for (const bool repair : {false, true}) {
            const auto faults = check(repair);
            const auto found = std::ranges::find_if(faults, [&](const Fault& fault) {
                return fault.what.find(damage.fault) != std::string::npos;
            });
            ASSERT_NE(found, faults.end()) << damage.fault;
            EXPECT_EQ(found->mendable, damage.mendable) << found->what;
            EXPECT_EQ(found->mended, repair && damage.mendable) << found->what;
        }
        if (!damage.mendable) continue;
        for (const Fault& fault : check(false)) ADD_FAILURE() << damage.fault << ": " << fault.what;
    }
}

TEST_F(UpkeepTest, ABackupIsOfOneMomentAndComesBackElsewhere) {
    // Two items at a time: in no moment is there an odd number of them.
    std::atomic<bool> stop = false;
    std::thread writer([&] {
        const auto other = store_.open();
        const auto work = *other->database().folder(alice_.id, "Work");
        for (int i = 0; !stop; ++i) {
            const auto change = other->database().begin();
            for (const char* side : {"a", "b"}) {
                const std::string uid = side + std::to_string(i);
                change->insertItem(work.key, {uid, event(uid), "", {}});
            }
            change->commit();
        }
    });
    const std::string message = "Spool\\1-0-1-abc.eml";
    platform::createDirectories(store_.paths().root + "\\Spool\\failed");
    platform::replaceFile(store_.paths().root + "\\" + message, "To: x");
    const std::string file = store_.beside("backup");
    const auto problem = backUp(*engine_, file, {});
    stop = true;
    writer.join();
    ASSERT_FALSE(problem) << *problem;
    EXPECT_TRUE(backUp(*engine_, file, {}));
    EXPECT_TRUE(platform::isPrivateFile(file));

    const auto paths = DataPaths::below(store_.beside("restored"));
    EXPECT_TRUE(restoreBackup(file, store_.paths(), store_.libraries(), {}));
    const auto restoring = restoreBackup(file, paths, store_.libraries(), {});
    ASSERT_FALSE(restoring) << *restoring;
    EXPECT_FALSE(platform::directoryExists(paths.root + ".restoring"));
    EXPECT_EQ(platform::readProfileText(paths.mainSettings, "Directories", "LogFiles", "", 300),
              paths.root + "\\Logs");
    EXPECT_EQ(platform::readProfileText(paths.root + "\\registry.ini",
                                        "SOFTWARE\\Quindle Software\\Corvane", "AppPath", "", 300),
              paths.root + "\\bin");

    EXPECT_EQ(platform::readFile(paths.root + "\\" + message, 100), "To: x");
    Engine restored(paths);
    for (const char* name : {"Calendar", "Contacts"}) {
        EXPECT_EQ(stateOf(restored, name), stateOf(*engine_, name));
    }
    const auto work = restored.database().folder(alice_.id, "Work");
    ASSERT_TRUE(work);
    EXPECT_EQ(restored.database().itemCount(work->key) % 2, 0U);
    EXPECT_EQ(tokenIn(restored.folderDirectory(alice_, *work)), token_);
    for (const Fault& fault : checkDataDirectory(restored, store_.libraries(), false, {}).faults) {
        // The writer told no spans.
        if (fault.what.find("another time") == std::string::npos) ADD_FAILURE() << fault.what;
    }
}

/// The settings name their directory; the database is all the rest.
bool isAsRestored(const DataPaths& paths, const DataPaths& other) {
    const auto database = platform::readFile(paths.database, 1 << 24);
    return database && database == platform::readFile(other.database, 1 << 24);
}

TEST_F(UpkeepTest, NothingIsRestoredFromWhatIsNoWholeBackup) {
    const std::string good = store_.beside("good");
    ASSERT_FALSE(backUp(*engine_, good, {}));
    const std::string bytes = *platform::readFile(good, 1 << 24);
    std::vector<std::string> wrong = {"", "no archive", std::string(5000, '\0')};
    for (const size_t part : {1, 3, 5, 7, 9}) {
        const size_t at = bytes.size() * part / 10;
        wrong.push_back(bytes.substr(0, at));
        wrong.push_back(bytes);
        wrong.back()[at] = static_cast<char>(bytes[at] ^ 1);
    }
    // Archives that are whole but for what is in them.
    const std::vector<std::string> names[] = {{"../up"},
                                              {"/abroad"},
                                              {"Mail/../../up"},
                                              {"Mail//x"},
                                              {"Mail\\..\\x"},
                                              {"bin/CVUser.so"},
                                              {"corvane.db", "corvane.db"},
                                              {"Corvane.ini"},
                                              {"corvane.db"}};
    for (const auto& list : names) {
        std::string text;
        ArchiveWriter archive([&](std::string_view piece) { return !text.append(piece).empty(); });
        Manifest manifest{"\\old", {}};
        for (const std::string& name : list) {
            archive.begin(name, 1);
            archive.write("x");
            Digest digest;
            digest.add("x");
            manifest.digests[name] = digest.hexadecimal();
        }
        archive.begin(kManifestName, manifest.text().size());
        archive.write(manifest.text());
        archive.finish();
        wrong.push_back(text);
    }
    const auto paths = DataPaths::below(store_.beside("restored"));
    // What is not a restore's own never goes, whatever stands beside it.
    const auto other = DataPaths::below(store_.beside("other"));
    platform::createDirectories(other.root + "\\restoring");
    platform::replaceFile(other.root + "\\thesis", "text");
    EXPECT_TRUE(restoreBackup(good, other, store_.libraries(), {}));
    EXPECT_TRUE(platform::fileExists(other.root + "\\thesis"));
    platform::removeFile(other.root + "\\thesis");
    platform::replaceFile(other.root + "\\Corvane.ini", "half done");
    EXPECT_FALSE(restoreBackup(good, other, store_.libraries(), {}));
    EXPECT_FALSE(platform::directoryExists(other.root + "\\restoring"));

    const auto whole = DataPaths::below(store_.beside("whole"));
    ASSERT_FALSE(restoreBackup(good, whole, store_.libraries(), {}));
    const std::string file = store_.beside("wrong");
    for (size_t i = 0; i < wrong.size(); ++i) {
        platform::replaceFile(file, wrong[i]);
        bool refused = false;
        try {
            refused = restoreBackup(file, paths, store_.libraries(), {}).has_value();
        } catch (const DatabaseError&) {
            refused = true;  // the last one: all is well but for the database
        }
        // A bit may be one that means nothing, of the packing: then all has come back as it was.
        if (!refused && wrong[i].size() == bytes.size() && isAsRestored(paths, whole)) {
            platform::removeDirectoryTree(paths.root);
            continue;
        }
        EXPECT_TRUE(refused) << i;
        EXPECT_FALSE(platform::directoryExists(paths.root)) << i;
        EXPECT_FALSE(platform::directoryExists(paths.root + ".restoring")) << i;
        EXPECT_FALSE(platform::fileExists(store_.beside("up"))) << i;
    }
}

}  // namespace
