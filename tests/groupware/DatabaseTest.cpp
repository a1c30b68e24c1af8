#include <atomic>
#include <csignal>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"
#include "groupware/db/WriteQueue.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace groupware;

namespace {

NewItem item(std::string_view uid, std::string_view text = "text") {
    return {uid, text, "", {}};
}

std::string named(std::string name, int number) {
    return name += std::to_string(number);
}

AccountRow alice() {
    AccountRow account;
    account.address = "alice@example.test";
    return account;
}

class DatabaseTest : public ::testing::Test {
  protected:
    DatabaseTest() : database_(openSqliteDatabase(path(), true, [this] { return now_.load(); })) {
        const auto change = database_->begin();
        account_ = change->addAccount(alice());
        folder_ = change->addFolder(account_, "Calendar", ItemKind::kEvent, true);
        change->commit();
    }

    std::string path() const { return directory_.path("corvane.db"); }
    ItemRow insert(std::string_view uid) {
        const auto change = database_->begin();
        const ItemRow row = change->insertItem(folder_, item(uid));
        change->commit();
        return row;
    }
    int64_t folderStamp() { return database_->folders(account_).front().stampMs; }

    TemporaryDirectory directory_;
    std::atomic<int64_t> now_ = 1'000'000;
    std::unique_ptr<Database> database_;
    int64_t account_ = -1;
    FolderKey folder_;
};

TEST_F(DatabaseTest, StampsMoveForwardWhateverTheClockDoes) {
    int64_t last = folderStamp();
    int number = 0;
    for (const int64_t clock : {1'000'000, 1'000'000, 500, 0, -7, 2'000'000, 1'999'999}) {
        now_ = clock;
        const auto change = database_->begin();
        const ItemRow first = change->insertItem(folder_, item(named("a", ++number)));
        const ItemRow second = change->insertItem(folder_, item(named("b", number)));
        const auto updated = change->updateItem(folder_, first.number, item(first.uid));
        ASSERT_TRUE(updated);
        EXPECT_TRUE(change->deleteItem(folder_, second.number));
        change->commit();
        EXPECT_GT(first.modifiedMs, last) << clock;
        EXPECT_GE(first.modifiedMs, clock);
        EXPECT_GT(second.modifiedMs, first.modifiedMs) << clock;
        EXPECT_GT(updated->modifiedMs, second.modifiedMs) << clock;
        EXPECT_GT(folderStamp(), updated->modifiedMs) << clock;
        EXPECT_EQ(database_->item(folder_, first.number)->row.modifiedMs, updated->modifiedMs);
        last = folderStamp();
    }
}

TEST_F(DatabaseTest, NumbersAreNotUsedAgain) {
    const int64_t first = insert("a").number;
    auto change = database_->begin();
    EXPECT_TRUE(change->deleteItem(folder_, first));
    EXPECT_FALSE(change->deleteItem(folder_, first));
    EXPECT_FALSE(change->updateItem(folder_, first, item("a")));
    change->commit();
    change.reset();
    EXPECT_GT(insert("a").number, first);

    change = database_->begin();
    change->removeAccount(account_);
    EXPECT_GT(change->addAccount(alice()), account_);
    change->commit();
    EXPECT_TRUE(database_->items(folder_).empty());
}

TEST_F(DatabaseTest, WhatIsNotCommittedLeavesNothing) {
    const auto before = database_->accountVersion(account_);
    const int64_t stamp = folderStamp();
    {
        const auto change = database_->begin();
        change->insertItem(folder_, item("a"));
        EXPECT_THROW(change->insertItem(folder_, item("a")), DatabaseError);
        EXPECT_TRUE(change->itemNumber(folder_, "a"));
        EXPECT_FALSE(database_->itemNumber(folder_, "a"));
    }
    EXPECT_EQ(database_->itemCount(folder_), 0U);
    EXPECT_EQ(folderStamp(), stamp);
    EXPECT_EQ(database_->accountVersion(account_), before);

    const auto change = database_->begin();
    change->insertItem(folder_, item("a"));
    change->insertItem(folder_, item("b"));
    change->commit();
    EXPECT_GT(database_->accountVersion(account_), before);
}

TEST_F(DatabaseTest, AnAccountsVersionGrowsWithEveryChange) {
    now_ = 1'000;
    const auto grows = [&](const std::function<void(WriteTransaction&)>& make) {
        const auto before = database_->accountVersion(account_);
        const auto change = database_->begin();
        make(*change);
        change->commit();
        EXPECT_GT(database_->accountVersion(account_), before);
    };
    int64_t number = 0;
    FolderKey other;
    grows([&](auto& change) { number = change.insertItem(folder_, item("a")).number; });
    grows([&](auto& change) { change.updateItem(folder_, number, item("a")); });
    grows([&](auto& change) { change.deleteItem(folder_, number); });
    grows([&](auto& change) {
        other = change.addFolder(account_, "Other", ItemKind::kEvent, false);
    });
    grows([&](auto& change) { change.removeFolder(other); });
    EXPECT_FALSE(database_->accountVersion(4711));
}

TEST_F(DatabaseTest, TextsComeBackByteForByte) {
    const std::string text("BEGIN\r\n\0\xFF\xC3 end", 15);
    auto change = database_->begin();
    const auto row = change->insertItem(folder_, {"uid \xC3\xA9", text, "id-1", {5, 9, true}});
    change->insertItem(folder_, {"empty", {}, {}, {}});
    change->commit();

    const auto found = database_->itemByIdentifier(folder_, "id-1");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->row.number, row.number);
    EXPECT_EQ(found->row.uid, "uid \xC3\xA9");
    EXPECT_EQ(found->text, text);
    EXPECT_EQ(found->span.firstStartMs, 5);
    EXPECT_EQ(found->span.lastEndMs, 9);
    EXPECT_TRUE(found->span.exact);
    EXPECT_FALSE(database_->itemByIdentifier(folder_, ""));
    EXPECT_FALSE(database_->itemByIdentifier(folder_, "id-2"));
    size_t count = 0;
    database_->eachItem(folder_, [&](StoredItem&& stored) {
        EXPECT_EQ(stored.text, count == 0 ? text : "");
        ++count;
    });
    EXPECT_EQ(count, 2U);
}

TEST_F(DatabaseTest, SpansAreAskedByTheirEnds) {
    auto change = database_->begin();
    change->insertItem(folder_, {"exact", "text", "", {100, 200, true}});
    change->insertItem(folder_, {"rule", "text", "", {150, INT64_MAX, false}});
    change->insertItem(folder_, {"any", "text", "", {}});
    change->commit();

    const std::tuple<int64_t, int64_t, std::set<std::string>> cases[] = {
        {0, 100, {"any"}},
        {0, 101, {"any", "exact"}},
        {199, 200, {"any", "exact", "rule"}},
        {200, 300, {"any", "rule"}},
        {INT64_MIN, INT64_MAX, {"any", "exact", "rule"}}};
    for (const auto& [from, to, uids] : cases) {
        std::set<std::string> found;
        database_->itemsInSpan(folder_, from, to, [&](StoredItem&& stored) {
            EXPECT_EQ(stored.text.empty(), stored.span.exact) << stored.row.uid;
            found.insert(stored.row.uid);
        });
        EXPECT_EQ(found, uids) << from << " to " << to;
    }
}

TEST_F(DatabaseTest, PublicAccountIsNobodys) {
    EXPECT_TRUE(database_->accountById(kPublicAccount));
    EXPECT_FALSE(database_->account(""));
    EXPECT_FALSE(database_->accountByAlias(""));
    EXPECT_EQ(database_->accounts().size(), 1U);
    const auto change = database_->begin();
    change->removeAccount(kPublicAccount);
    change->commit();
    EXPECT_TRUE(database_->accountById(kPublicAccount));
}

TEST_F(DatabaseTest, RefusesWhatItCannotRead) {
    SqliteConnection(path()).execute("PRAGMA user_version=99");
    EXPECT_THROW(openSqliteDatabase(path(), true), DatabaseError);
    EXPECT_THROW(openSqliteDatabase(directory_.path("none.db"), false), DatabaseError);
    platform::replaceFile(directory_.path("empty.db"), "");
    EXPECT_THROW(openSqliteDatabase(directory_.path("empty.db"), false), DatabaseError);
    platform::replaceFile(directory_.path("text.db"), std::string(10'000, 'x'));
    EXPECT_THROW(openSqliteDatabase(directory_.path("text.db"), true), DatabaseError);
}

TEST_F(DatabaseTest, KilledWriterLeavesAllItHasCommitted) {
    database_.reset();
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t child = startProcess([&] {
        const auto database = openSqliteDatabase(path(), false);
        for (int32_t i = 0;; ++i) {
            const auto change = database->begin();
            change->insertItem(folder_, item(named("k", i), std::string(9000, 'k')));
            change->insertItem(folder_, item(named("pair", i)));
            change->commit();
            if (::write(pipe[1], &i, sizeof i) != sizeof i) return false;
        }
    });
    ::close(pipe[1]);
    int32_t committed = -1;
    while (committed < 25 && ::read(pipe[0], &committed, sizeof committed) == sizeof committed) {
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (int32_t next = 0; ::read(pipe[0], &next, sizeof next) == sizeof next;) committed = next;
    ::close(pipe[0]);

    database_ = openSqliteDatabase(path(), false);
    for (int i = 0; i <= committed; ++i) {
        EXPECT_TRUE(database_->itemNumber(folder_, named("k", i))) << i;
    }
    EXPECT_EQ(database_->itemCount(folder_) % 2, 0U);
    insert("afterwards");
}

TEST(WriteQueueTest, WhoGivesUpLosesItsPlaceOnly) {
    WriteQueue queue;
    ASSERT_TRUE(queue.enter(std::chrono::milliseconds(0)));
    EXPECT_FALSE(queue.enter(std::chrono::milliseconds(0)));
    std::thread next([&] {
        EXPECT_TRUE(queue.enter(std::chrono::minutes(1)));
        queue.leave();
    });
    queue.leave();
    next.join();
    EXPECT_TRUE(queue.enter(std::chrono::minutes(1)));
    queue.leave();
}

}  // namespace
