#include <atomic>
#include <map>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "groupware/items/RangeFilter.h"
#include "groupware/items/SnapshotCache.h"
#include "tests/platform/Processes.h"
#include "tests/platform/TemporaryDirectory.h"

using namespace groupware;

namespace {

constexpr int64_t kDayMs = 86'400'000;

class SnapshotTest : public ::testing::Test {
  protected:
    SnapshotTest() : database_(openSqliteDatabase(path(), true)) {
        AccountRow alice;
        alice.address = "alice@example.test";
        const auto change = database_->begin();
        account_ = change->addAccount(alice);
        for (const char* name : {"Calendar", "Work", "Home"}) {
            folders_.push_back(change->addFolder(account_, name, ItemKind::kEvent, false));
        }
        change->commit();
    }

    std::string path() const { return directory_.path("corvane.db"); }
    FolderRow folder(size_t index = 0) { return database_->folders(account_)[index]; }
    SnapshotPointer now(size_t index = 0) { return cache_.contentsOf(folder(index)); }
    int64_t insert(Database& database, const std::string& uid, const std::string& text,
                   ItemSpan span = {}, size_t index = 0) {
        const auto change = database.begin();
        const ItemRow row = change->insertItem(folders_[index], {uid, text, uid + "-id", span});
        change->commit();
        return row.number;
    }
    std::string textOf(const FolderItem& item) {
        const ParsedPointer parsed = cache_.textOf(item);
        return parsed ? parsed->text : "(none)";
    }

    TemporaryDirectory directory_;
    std::unique_ptr<Database> database_;
    int64_t account_ = -1;
    std::vector<FolderKey> folders_;
    std::atomic<size_t> mostBytes_ = SIZE_MAX;
    SnapshotCache cache_{*database_, [this] { return mostBytes_.load(); }};
};

/// A folder's contents as the database lists them, by number.
using Listed = std::map<int64_t, std::pair<int64_t, std::string>>;

Listed listed(const FolderSnapshot& snapshot) {
    Listed all;
    snapshot.each([&](const auto& item) {
        all[item->row.number] = {item->row.modifiedMs, item->row.uid};
        EXPECT_EQ(snapshot.item(item->row.number), item.get());
        EXPECT_EQ(snapshot.itemOfUid(item->row.uid), item.get());
        EXPECT_EQ(snapshot.itemOfIdentifier(item->row.identifier), item.get());
    });
    EXPECT_EQ(all.size(), snapshot.size());
    return all;
}

Listed listed(const std::vector<ItemRow>& rows) {
    Listed all;
    for (const ItemRow& row : rows) all[row.number] = {row.modifiedMs, row.uid};
    return all;
}

TEST_F(SnapshotTest, FollowsWhatAnotherProcessDoes) {
    const auto other = openSqliteDatabase(path(), false);
    std::mt19937 random(1);
    std::vector<int64_t> numbers;
    int uids = 0;
    const auto span = [&]() -> ItemSpan {
        const auto start = static_cast<int64_t>(random() % 1000) * kDayMs;
        const int64_t length = random() % 8 == 0 ? 200 * kDayMs : kDayMs / 24;
        return {random() % 50 == 0 ? INT64_MIN : start,
                random() % 20 == 0 ? INT64_MAX : start + length, true};
    };
    for (int round = 0; round < 30; ++round) {
        const SnapshotPointer before = now();
        const Listed then = listed(*before);
        const auto change = other->begin();
        // Once so many are deleted that not all of them are remembered.
        const size_t changes = round == 20 ? 900 : 1 + random() % 60;
        for (size_t i = 0; i < changes; ++i) {
            const size_t at = numbers.empty() ? 0 : random() % numbers.size();
            const auto what = numbers.empty() ? 0 : random() % (round < 20 ? 4 : 2);
            const std::string uid = "uid" + std::to_string(++uids);
            if (what == 1) {
                EXPECT_TRUE(change->deleteItem(folders_[0], numbers[at]));
                numbers.erase(numbers.begin() + static_cast<std::ptrdiff_t>(at));
            } else if (what == 2) {
                change->updateItem(folders_[0], numbers[at], {uid, "new", uid + "-id", span()});
            } else {
                const NewItem item{uid, "text", uid, span()};
                numbers.push_back(change->insertItem(folders_[0], item).number);
            }
        }
        change->commit();
        EXPECT_EQ(listed(*now()), listed(database_->items(folders_[0]))) << round;
        EXPECT_EQ(listed(*before), then) << round;
        const int64_t from = static_cast<int64_t>(random() % 1000) * kDayMs;
        const TimeRange range{from, round % 7 == 0 ? INT64_MAX : from + 30 * kDayMs};
        std::set<int64_t> expected;
        std::set<int64_t> found;
        database_->itemsInSpan(folders_[0], range.fromMs, range.toMs,
                               [&](StoredItem&& item) { expected.insert(item.row.number); });
        now()->eachTouching(range, [&](const auto& item) { found.insert(item.row.number); });
        EXPECT_EQ(found, expected) << round;
    }
}

TEST_F(SnapshotTest, WhatHasNotChangedIsNotReadAgain) {
    const int64_t kept = insert(*database_, "kept", "text of kept");
    const int64_t changed = insert(*database_, "changed", "first");
    const SnapshotPointer before = now();
    EXPECT_EQ(now(), before);
    EXPECT_EQ(textOf(*before->item(changed)), "first");
    const auto change = database_->begin();
    change->updateItem(folders_[0], changed, {"changed", "second", "", {}});
    change->commit();
    const SnapshotPointer after = now();
    EXPECT_EQ(after->item(kept), before->item(kept));
    EXPECT_EQ(textOf(*after->item(changed)), "second");
    EXPECT_EQ(textOf(*before->item(changed)), "first");
    // A text that nobody has asked for in time is the one that is there by now.
    EXPECT_EQ(textOf(*before->item(kept)), "text of kept");
}

TEST_F(SnapshotTest, ProcessesSeeEachOthersWrites) {
    database_.reset();
    EXPECT_TRUE(twoAtOnce([&](const std::string& name) {
        const auto database = openSqliteDatabase(path(), false);
        SnapshotCache cache(*database, [] { return SIZE_MAX; });
        for (int i = 0; i < 40; ++i) {
            insert(*database, name + std::to_string(i), name);
            const auto seen = cache.contentsOf(database->folders(account_)[0]);
            if (listed(*seen).size() < static_cast<size_t>(i) + 1) return false;
            if (!seen->itemOfUid(name + std::to_string(i))) return false;
        }
        return true;
    }));
    database_ = openSqliteDatabase(path(), false);
    SnapshotCache cache(*database_, [] { return SIZE_MAX; });
    std::set<int64_t> stamps;
    for (const auto& [number, row] : listed(*cache.contentsOf(folder()))) stamps.insert(row.first);
    EXPECT_EQ(stamps.size(), 80U);
}

TEST_F(SnapshotTest, KeepsWithinItsBound) {
    const std::string text(10'000, 'x');
    for (size_t index = 0; index < 3; ++index) {
        for (int i = 0; i < 20; ++i) insert(*database_, std::to_string(i), text, {}, index);
    }
    const auto readAll = [&](size_t index) {
        now(index)->each([&](const auto& item) { EXPECT_EQ(textOf(*item), text); });
    };
    for (size_t index = 0; index < 3; ++index) readAll(index);
    EXPECT_GT(cache_.bytes(), 3 * 20 * text.size());
    mostBytes_ = 30 * text.size();
    const SnapshotPointer held = now(1);
    insert(*database_, "one more", text, {}, 2);
    readAll(2);
    EXPECT_LE(cache_.bytes(), mostBytes_ + 20 * text.size()) << "only what somebody holds besides";
    EXPECT_EQ(listed(*held).size(), 20U);
    mostBytes_ = 5 * text.size();
    readAll(0);
    readAll(2);
    readAll(0);
    mostBytes_ = 0;
    readAll(1);
    readAll(0);
}

TEST_F(SnapshotTest, ReadersGoOnWhileOthersWriteAndFoldersAreGivenUp) {
    constexpr int kWrites = 60;
    mostBytes_ = 40'000;
    std::atomic<int> writing = 2;
    std::vector<std::thread> threads;
    for (const std::string name : {"a", "b"}) {
        threads.emplace_back([&, name] {
            for (int i = 0; i < kWrites; ++i) {
                const auto index = static_cast<size_t>(i % 3);
                const std::string uid = name + std::to_string(i);
                const int64_t number =
                    insert(*database_, uid, uid + std::string(900, '.'), {}, index);
                EXPECT_TRUE(now(index)->itemOfUid(uid));
                if (i % 4 != 3) continue;
                const auto change = database_->begin();
                EXPECT_TRUE(change->deleteItem(folders_[index], number));
                change->commit();
                EXPECT_FALSE(now(index)->item(number));
            }
            --writing;
        });
    }
    for (size_t reader = 0; reader < 3; ++reader) {
        threads.emplace_back([&, reader] {
            int64_t stamp = INT64_MIN;
            for (size_t i = reader; writing > 0; ++i) {
                const SnapshotPointer contents = now(i % 3);
                contents->each([&](const auto& item) {
                    const ParsedPointer parsed = cache_.textOf(*item);
                    EXPECT_TRUE(!parsed || parsed->text.starts_with(item->row.uid + "."));
                });
                if (i % 3 != 0) continue;
                EXPECT_GE(contents->state().stampMs, stamp);
                stamp = contents->state().stampMs;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (size_t index = 0; index < 3; ++index) {
        EXPECT_EQ(listed(*now(index)), listed(database_->items(folders_[index])));
    }
}

TEST_F(SnapshotTest, QueriesFindWhatExpandingWouldFind) {
    const char* const kEvents[] = {
        "DTSTART:20250301T100000Z\r\nDTEND:20250301T110000Z\r\nRRULE:FREQ=WEEKLY\r\n",
        "DTSTART:20200101T100000Z\r\nRRULE:FREQ=DAILY;COUNT=2000\r\nEXDATE:20250310T100000Z\r\n",
        "DTSTART;VALUE=DATE:20240229\r\nRRULE:FREQ=YEARLY;INTERVAL=4\r\n",
        "DTSTART:20250101T000000Z\r\nDURATION:P20D\r\nRRULE:FREQ=MONTHLY;UNTIL="
        "20260601T000000Z\r\n",
        "DTSTART:20250301T100000\r\nRRULE:FREQ=HOURLY\r\n",
        "DTSTART:20250301T100000Z\r\nRRULE:FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30\r\n",
        "DTSTART:20250301T100000Z\r\nRDATE:20270301T100000Z,20310301T100000Z\r\n",
        "DTSTART:20250301T100000Z\r\nDTEND:20250302T100000Z\r\n",
    };
    std::vector<CalendarObject> objects;
    for (const char* times : kEvents) {
        const std::string uid = std::to_string(objects.size());
        const std::string text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:" + uid +
                                 "\r\n" + times + "END:VEVENT\r\nEND:VCALENDAR\r\n";
        std::string problem;
        objects.push_back(*CalendarObject::parse(ItemKind::kEvent, text, problem));
        insert(*database_, uid, text, spanOf(objects.back()));
    }
    std::mt19937 random(7);
    constexpr int64_t k2024 = 1'704'067'200'000;
    for (int i = 0; i < 40; ++i) {
        const int64_t from = k2024 + static_cast<int64_t>(random() % 3000) * kDayMs;
        TimeRange range{from, from + static_cast<int64_t>(1 + random() % 60) * kDayMs};
        if (i % 5 == 0) range.toMs = INT64_MAX;
        if (i % 7 == 0) range.fromMs = INT64_MIN;
        RangeFilter filter(cache_, range);
        std::set<std::string> found;
        now()->eachTouching(range, [&](const FolderItem& item) {
            if (filter.holds(item)) found.insert(item.row.uid);
        });
        for (size_t at = 0; at < objects.size(); ++at) {
            StepBudget budget(kItemSteps);
            EXPECT_EQ(found.contains(std::to_string(at)), occursIn(objects[at], range, budget))
                << kEvents[at] << range.fromMs << " " << range.toMs;
        }
    }
}

}  // namespace
