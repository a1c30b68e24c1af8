#include <csignal>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "groupware/db/Database.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace groupware;

namespace {

class GroupCommitTest : public ::testing::Test {
  protected:
    GroupCommitTest() : database_(openSqliteDatabase(path(), true)) {
        AccountRow alice;
        alice.address = "alice@example.test";
        const auto change = database_->begin();
        folder_ = change->addFolder(change->addAccount(alice), "Calendar", ItemKind::kEvent, true);
        change->commit();
    }

    std::string path() const { return directory_.path("corvane.db"); }

    /// Four clients at once. The UIDs of the items that were acknowledged; those refused are
    /// counted.
    std::set<std::string> writeAtOnce(const std::string& prefix, int items, size_t bytes,
                                      int& refused) {
        std::mutex mutex;
        std::set<std::string> acknowledged;
        std::vector<std::thread> clients;
        for (int client = 0; client < 4; ++client) {
            clients.emplace_back([&, client] {
                for (int i = 0; i < items; ++i) {
                    const std::string uid = prefix + std::to_string(client * items + i);
                    // Two items or none; the second of every fifth is there already.
                    const std::string second = i % 5 == 4 ? "taken" : uid + "+";
                    const std::string text(bytes, 'x');
                    try {
                        const auto change = database_->beginGrouped();
                        change->insertItem(folder_, {uid, text, "", {}});
                        change->insertItem(folder_, {second, text, "", {}});
                        change->commit();
                        const std::lock_guard lock(mutex);
                        acknowledged.insert({uid, second});
                    } catch (const DatabaseError&) {
                        const std::lock_guard lock(mutex);
                        ++refused;
                    }
                }
            });
        }
        for (std::thread& client : clients) client.join();
        return acknowledged;
    }

    std::set<std::string> stored() {
        std::set<std::string> uids;
        for (const ItemRow& row : database_->items(folder_)) uids.insert(row.uid);
        uids.erase("taken");
        return uids;
    }

    void take() {
        const auto change = database_->begin();
        change->insertItem(folder_, {"taken", "text", "", {}});
        change->commit();
    }

    TemporaryDirectory directory_;
    std::unique_ptr<Database> database_;
    FolderKey folder_;
};

TEST_F(GroupCommitTest, WhatOneGivesUpDoesNotConcernTheOthers) {
    take();
    int refused = 0;
    const auto acknowledged = writeAtOnce("a", 50, 100, refused);
    EXPECT_EQ(stored(), acknowledged);
    EXPECT_EQ(refused, 40);
}

TEST_F(GroupCommitTest, WhoComesAloneFindsNothingOpen) {
    std::vector<std::thread> threads;
    for (int client = 0; client < 4; ++client) {
        threads.emplace_back([&, client] {
            for (int i = 0; i < 40; ++i) {
                const auto change = client == 0 ? database_->begin() : database_->beginGrouped();
                const std::string uid = std::to_string(client) + "-" + std::to_string(i);
                change->insertItem(folder_, {uid, "text", "", {}});
                if (client == 0) {
                    // Nobody's change is to be seen within that is not to be seen from outside.
                    for (int other = 40; other < 160; ++other) {
                        const std::string named =
                            std::to_string(other / 40) + "-" + std::to_string(other % 40);
                        EXPECT_EQ(change->itemNumber(folder_, named),
                                  database_->itemNumber(folder_, named));
                    }
                }
                if (i % 3 == 0) change->commit();  // the others are given up
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(database_->itemCount(folder_), size_t{4 * 14});
}

TEST_F(GroupCommitTest, AFullDiskRefusesWhatItCannotHold) {
    take();
    database_.reset();
    EXPECT_TRUE(endedWell(startProcess([&] {
        ::signal(SIGXFSZ, SIG_IGN);
        database_ = openSqliteDatabase(path(), false);
        int refused = 0;
        std::set<std::string> acknowledged = writeAtOnce("before", 5, 1000, refused);
        // No file may grow beyond this, as on a disk that has so much left.
        rlimit limit{300'000, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        refused = 0;
        acknowledged.merge(writeAtOnce("full", 20, 20'000, refused));
        if (refused == 0 || stored() != acknowledged) return false;
        limit.rlim_cur = RLIM_INFINITY;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        refused = 0;
        acknowledged.merge(writeAtOnce("after", 4, 20'000, refused));
        return refused == 0 && stored() == acknowledged;
    })));
    database_ = openSqliteDatabase(path(), false);
    EXPECT_TRUE(stored().contains("after0"));
}

}  // namespace
