#include <string>
#include <thread>
#include <vector>

#include "groupware/items/Transfer.h"
#include "tests/groupware/CVCalendarFixture.h"

namespace groupware {
namespace {

class CVCalendarConcurrencyTest : public CVCalendarFixture {};

TEST_F(CVCalendarConcurrencyTest, ClientsThatMeetAtAnItemAreAllServed) {
    Events items(*this, 2);
    StoreCalItem& first = items[0];
    StoreCalItem& second = items[1];
    for (StoreCalItem* item : {&first, &second}) {
        const std::string text = event("a", item == &first ? "" : "SUMMARY:second\r\n");
        ASSERT_EQ(CALL(CV_CalReadFromICalendarString, item, text.c_str(), kActor), STORE_OK);
        ASSERT_EQ(CALL(CV_CalWriteCalItem, item, events_.c_str(), kActor), STORE_OK);
    }
    EXPECT_EQ(first.itemNumber, second.itemNumber);
    EXPECT_FALSE(same(first.lastModified, second.lastModified));
    EXPECT_EQ(get("a"), event("a", "SUMMARY:second\r\n"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(CALL(CV_CalDeleteCalItem, events_.c_str(), first.itemNumber, kActor), STORE_OK);
    }
    EXPECT_EQ(get("a"), "none");
    EXPECT_EQ(CALL(CV_CalSetRelatedDAVData, first.itemNumber, events_.c_str(), "x", 1), STORE_OK);
    ASSERT_EQ(CALL(CV_CalEditCalItem, &second, first.itemNumber, events_.c_str(), kActor),
              STORE_OK);
    EXPECT_NE(second.itemNumber, first.itemNumber);
    EXPECT_EQ(get("a"), event("a", "SUMMARY:second\r\n"));

    std::vector<std::thread> clients;
    for (int client = 0; client < 4; ++client) {
        clients.emplace_back([this, client] {
            const std::string text = event("b", "X-BY:" + std::to_string(client) + "\r\n");
            for (int i = 0; i < 10; ++i) {
                Events records(*this);
                StoreCalItem& item = records[0];
                CALL(CV_CalReadFromICalendarString, &item, text.c_str(), kActor);
                const char* folder = events_.c_str();
                const bool found = CALL(CV_CalGetIDFromiCalUid, folder, "b", &item.itemNumber) != 0;
                if (found && client == 0) {
                    EXPECT_EQ(CALL(CV_CalDeleteCalItem, folder, item.itemNumber, kActor), STORE_OK);
                } else if (found) {
                    EXPECT_EQ(CALL(CV_CalEditCalItem, &item, item.itemNumber, folder, kActor),
                              STORE_OK);
                } else {
                    EXPECT_EQ(CALL(CV_CalWriteCalItem, &item, folder, kActor), STORE_OK);
                }
                EXPECT_EQ(CALL(CV_CalSetRelatedDAVData, item.itemNumber, folder, text.c_str(),
                               static_cast<uint32_t>(text.size())),
                          STORE_OK);
            }
        });
    }
    for (std::thread& client : clients) client.join();
    EXPECT_LE(engine_->database().itemCount(folderOf(ItemKind::kEvent)->key), 2U);
}

TEST_F(CVCalendarConcurrencyTest, ALongListTakesTwoCallsWhateverHappensBetween) {
    for (int i = 0; i < 12; ++i) put(event("e" + std::to_string(i)));
    const auto list = [&](Events& items, uint32_t& count) {
        return CALL(CV_CalGetAllItemsEx, items.get(), &count, events_.c_str(), kActor);
    };
    Events items(*this, 5);
    uint32_t count = 5;
    ASSERT_EQ(list(items, count), STORE_MORE_ROOM);
    ASSERT_EQ(count, 12U);
    put(event("late"));
    items.resize(count);
    ASSERT_EQ(list(items, count), STORE_OK);
    ASSERT_EQ(count, 12U);
    EXPECT_STREQ(items[11].uid, "e11");
    EXPECT_EQ(textOf(items[11]), event("e11"));
    ASSERT_EQ(CALL(CV_CalDeleteCalItem, events_.c_str(), items[11].itemNumber, kActor), STORE_OK);
    // What a listing has shown stays whole for whoever holds it.
    EXPECT_EQ(textOf(items[11]), event("e11"));
    // The kept list is used up: a listing shows what is there now.
    Events again(*this, 20);
    count = 20;
    ASSERT_EQ(list(again, count), STORE_OK);
    ASSERT_EQ(count, 12U);
    EXPECT_STREQ(again[11].uid, "late");
}

TEST_F(CVCalendarConcurrencyTest, ListsStayWholeWhileAnotherWriterImports) {
    std::string file = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
    constexpr uint32_t kEvents = 900;
    for (uint32_t i = 0; i < kEvents; ++i) {
        file += "BEGIN:VEVENT\r\nUID:i" + std::to_string(i) +
                "\r\nDTSTART:20250601T100000Z\r\nEND:VEVENT\r\n";
    }
    file += "END:VCALENDAR\r\n";
    const FolderRow folder = *folderOf(ItemKind::kEvent);
    std::thread writer([&] { EXPECT_EQ(importItems(*engine_, folder, file).imported, kEvents); });
    uint32_t seen = 0;
    while (seen < kEvents) {
        Events items(*this, 10);
        uint32_t count = 10;
        int32_t status = CALL(CV_CalGetAllItemsEx, items.get(), &count, events_.c_str(), kActor);
        if (status == STORE_MORE_ROOM) {
            items.resize(count);
            status = CALL(CV_CalGetAllItemsEx, items.get(), &count, events_.c_str(), kActor);
        }
        ASSERT_EQ(status, STORE_OK);
        EXPECT_GE(count, seen);
        seen = count;
        if (seen > 0) {
            EXPECT_EQ(items[seen - 1].uid, "i" + std::to_string(seen - 1));
        }
    }
    writer.join();
}

}  // namespace
}  // namespace groupware
