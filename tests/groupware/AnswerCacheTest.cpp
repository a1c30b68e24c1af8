#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "groupware/db/Database.h"
#include "groupware/db/SqliteChangeWatch.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace groupware;

namespace {

class AnswerCacheTest : public ::testing::Test {
  protected:
    AnswerCacheTest() {
        database_ = openSqliteDatabase(path(), true);
        const auto change = database_->begin();
        alice_.address = "alice@example.test";
        alice_.id = change->addAccount(alice_);
        folder_ = change->addFolder(alice_.id, "Calendar", ItemKind::kEvent, true);
        change->commit();
    }

    std::string path() const { return directory_.path("corvane.db"); }

    TemporaryDirectory directory_;
    AccountRow alice_;
    FolderKey folder_;
    std::unique_ptr<Database> database_;
};

TEST_F(AnswerCacheTest, AnotherProcessesCommitIsSeenAtOnce) {
    constexpr int kRounds = 60;
    database_.reset();
    int asked[2];
    int done[2];
    ASSERT_EQ(::pipe(asked), 0);
    ASSERT_EQ(::pipe(done), 0);
    const pid_t child = startProcess([&] {
        const auto database = openSqliteDatabase(path(), false);
        SqliteConnection connection(path());
        char byte = 0;
        for (int round = 0; round < kRounds; ++round) {
            if (::read(asked[0], &byte, 1) != 1) return false;
            alice_.fullName = std::to_string(round);
            const auto change = database->begin();
            change->updateAccount(alice_);
            change->setGrant(folder_, alice_.id, static_cast<uint32_t>(round));
            change->commit();
            // The log begins anew, and a foreign program writes as well.
            if (round % 3 == 1) connection.execute("PRAGMA wal_checkpoint(TRUNCATE)");
            if (round % 3 == 2) connection.execute("UPDATE account SET full_name='foreign'");
            if (::write(done[1], &byte, 1) != 1) return false;
        }
        return true;
    });
    database_ = openSqliteDatabase(path(), false);
    char byte = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (int again = 0; again < 2; ++again) {
            EXPECT_TRUE(database_->account(alice_.address));
            EXPECT_EQ(database_->domains().size(), 0U);
        }
        ASSERT_EQ(::write(asked[1], &byte, 1), 1);
        ASSERT_EQ(::read(done[0], &byte, 1), 1);
        const std::string expected = round % 3 == 2 ? "foreign" : std::to_string(round);
        EXPECT_EQ(database_->account(alice_.address)->fullName, expected);
        EXPECT_EQ(database_->accountById(alice_.id)->fullName, expected);
        EXPECT_EQ(database_->grantedRights(folder_, alice_.id), static_cast<uint32_t>(round));
    }
    EXPECT_TRUE(endedWell(child));
    for (const int end : {asked[0], asked[1], done[0], done[1]}) ::close(end);
}

TEST_F(AnswerCacheTest, ThreadsSeeWhatWasAcknowledged) {
    std::atomic<int64_t> version = *database_->accountVersion(alice_.id);
    std::atomic<int64_t> stamp = 0;
    std::atomic<bool> writing = true;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 3; ++reader) {
        readers.emplace_back([&] {
            while (writing) {
                const int64_t leastVersion = version;
                const int64_t leastStamp = stamp;
                EXPECT_GE(database_->accountVersion(alice_.id), leastVersion);
                EXPECT_GE(database_->folder(alice_.id, "calendar")->stampMs, leastStamp);
            }
        });
    }
    for (int i = 0; i < 100; ++i) {
        const auto change = database_->begin();
        const int64_t given =
            change->insertItem(folder_, {std::to_string(i), "text", "", {}}).modifiedMs;
        change->commit();
        stamp = given;
        ++version;
    }
    writing = false;
    for (std::thread& reader : readers) reader.join();
}

TEST_F(AnswerCacheTest, WhatIsKeptOverACommitIsWhatTheDatabaseTells) {
    SqliteConnection foreign(path());
    for (int round = 0; round < 8; ++round) {
        // Known before, so that it is amended and not asked.
        EXPECT_EQ(database_->accountById(alice_.id)->id, alice_.id);
        EXPECT_EQ(database_->folders(alice_.id).size(), 1U);
        if (round % 4 == 1) foreign.execute("UPDATE folder SET name='Foreign'");
        const auto change = database_->begin();
        if (round % 4 == 2) change->renameFolder(folder_, "Own");
        const int64_t stamp =
            change->insertItem(folder_, {std::to_string(round), "text", "", {}}).modifiedMs;
        change->commit();
        if (round % 4 == 3) foreign.execute("UPDATE folder SET name='Later'");
        constexpr const char* kNames[] = {"Calendar", "Foreign", "Own", "Later"};
        const std::string name = round == 4 ? "Later" : kNames[round % 4];
        const auto folder = database_->folder(alice_.id, name);
        ASSERT_TRUE(folder) << round;
        EXPECT_EQ(folder->stampMs, stamp);
        EXPECT_EQ(database_->accountVersion(alice_.id),
                  openSqliteDatabase(path(), false)->accountVersion(alice_.id));
    }
}

TEST_F(AnswerCacheTest, TheWatchMovesWithCommitsAlone) {
    const SqliteChangeWatch watch(path());
    const auto before = watch.state();
    ASSERT_TRUE(before) << "otherwise every question goes to the database";
    database_->items(folder_);
    {
        const auto change = database_->begin();
        change->insertItem(folder_, {"given up", "text", "", {}});
    }
    EXPECT_EQ(watch.state(), before);
    const auto change = database_->begin();
    change->insertItem(folder_, {"stored", "text", "", {}});
    EXPECT_EQ(watch.state(), before);
    change->commit();
    EXPECT_NE(watch.state(), before);
}

}  // namespace
