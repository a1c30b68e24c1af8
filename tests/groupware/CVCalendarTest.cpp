#include <cstring>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "groupware/engine/AccountHandle.h"
#include "tests/groupware/CVCalendarFixture.h"

namespace groupware {
namespace {

class CVCalendarTest : public CVCalendarFixture {};

/// The smaller oddities are those of OddEvents.
TEST_F(CVCalendarTest, ClientsTextsComeBackByteForByte) {
    const std::map<std::string, std::string> texts = {
        {"stray", "\r\nnote: x\r\n\xEF\xBB\xBF" + event("stray") + "\r\ntail"},
        {"large", event("large", "ATTACH:" + std::string(17'000'000, 'A') + "\r\n")},
        {"bare",
         "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:bare\nDTSTART;VALUE=DATE:20250601\n\nEND:VEVENT\n"
         "END:VCALENDAR"},
        {"odd", event("odd", "X-A.UID:other\r\nDURATION:soon\r\nGEO:here\r\n")},
    };
    for (const auto& [uid, text] : texts) put(text);
    for (const auto& [uid, text] : texts) EXPECT_TRUE(get(uid) == text) << uid;
}

TEST_F(CVCalendarTest, LinesFoldedWithinACharacterAreHandedOutWhole) {
    const std::string rest = "DESCRIPTION:\xC3\xA4\r\n b\r\n";
    put(event("a", "SUMMARY:Z\xC3\r\n \xBCrich\r\n" + rest));
    const std::string whole = event("a", "SUMMARY:Z\xC3\xBCrich\r\n" + rest);
    EXPECT_EQ(get("a"), whole);
    char* text = nullptr;
    ASSERT_NE(CALL(CV_CalFolderToICalendarString, events_.c_str(), &text), 0);
    EXPECT_NE(taken(text).find("SUMMARY:Z\xC3\xBCrich\r\n" + rest), std::string::npos);
}

TEST_F(CVCalendarTest, WhatIsNoEventIsRefused) {
    const std::string nested(200'000, '\n');
    std::string deep = "BEGIN:VCALENDAR\r\n";
    for (int i = 0; i < 100'000; ++i) deep += "BEGIN:VEVENT\r\n";
    for (const std::string& text :
         {std::string(), std::string("garbage"), nested, deep, event(""),
          event(std::string(2000, 'u')),
          std::string(
              "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:a\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"),
          std::string("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:a\r\nEND:VTODO\r\nEND:VCALENDAR\r\n"),
          event("a").substr(0, 100), event("a") + "END:VEVENT\r\n",
          "BEGIN:VCARD\r\nEND:VCARD\r\n" + event("a")}) {
        Events item(*this);
        EXPECT_NE(CALL(CV_CalReadFromICalendarString, item.get(), text.c_str(), kActor), STORE_OK)
            << text.substr(0, 80);
        EXPECT_NE(CALL(CV_CalWriteCalItem, item.get(), events_.c_str(), kActor), STORE_OK);
    }
    EXPECT_EQ(CALL(CV_CalReadFromICalendarString, nullptr, nullptr, nullptr), STORE_BAD_DATA);
    uint32_t count = 0;
    EXPECT_EQ(CALL(CV_CalGetAllItemsEx, nullptr, &count, nullptr, nullptr), STORE_BAD_DATA);
}

TEST_F(CVCalendarTest, FoldersAreOfOneKindAndItemsOfOneUid) {
    Events item(*this);
    ASSERT_EQ(CALL(CV_CalReadFromICalendarString, item.get(), event("a").c_str(), kActor),
              STORE_OK);
    for (const auto& [folder, status] :
         {std::pair(tasks_, STORE_NOT_FOUND), std::pair(events_ + "x", STORE_NOT_FOUND),
          std::pair(events_ + "\\", STORE_OK)}) {
        EXPECT_EQ(CALL(CV_CalWriteCalItem, item.get(), folder.c_str(), kActor), status) << folder;
    }
    EXPECT_EQ(CALL(CV_CalDeleteCalItem, tasks_.c_str(), item->itemNumber, kActor), STORE_NOT_FOUND);
    EXPECT_EQ(CALL(CV_CalDeleteCalItem, events_.c_str(), item->itemNumber, kActor), STORE_OK);
    EXPECT_EQ(get("a"), "none");

    AccountHandle handle{*engine_->database().account(kActor), ""};
    char path[STORE_PATH_SIZE];
    CALL(CV_CalGetDefaultFolder, reinterpret_cast<uintptr_t>(&handle), path);
    EXPECT_EQ(path, events_);
    CALL(CV_ContactGetWhiteListFolder, reinterpret_cast<uintptr_t>(&handle), path);
    EXPECT_STREQ(path, "");
}

TEST_F(CVCalendarTest, CopiesShareWhatTheyHold) {
    put(event("a",
              "ORGANIZER:mailto:boss@example.test\r\n"
              "ATTENDEE;PARTSTAT=TENTATIVE:MAILTO:Alice@example.test\r\n"
              "ATTENDEE;SCHEDULE-AGENT=CLIENT:mailto:bob@example.test\r\n"));
    uint32_t number = 0;
    ASSERT_TRUE(CALL(CV_CalGetIDFromiCalUid, events_.c_str(), "a", &number));
    Events item(*this);
    Events kept(*this);
    StoreCalItem& copy = *kept.get();
    ASSERT_EQ(CALL(CV_CalGetCalItemEx, item.get(), number, events_.c_str(), 0), STORE_OK);
    for (int i = 0; i < 3; ++i) CALL(CV_CalCopyCalItemEx, &copy, item.get());
    item->attendees[0].status = STORE_PARTSTAT_DECLINED;
    for (int i = 0; i < 2; ++i) CALL(CV_CalFreeCalItemEx, item.get());
    EXPECT_STREQ(copy.uid, "a");
    EXPECT_STREQ(copy.organizer, "boss@example.test");
    ASSERT_EQ(copy.attendeeCount, 2U);
    EXPECT_STREQ(copy.attendees[0].address, "Alice@example.test");
    EXPECT_EQ(copy.attendees[0].status, STORE_PARTSTAT_TENTATIVE);
    EXPECT_NE(copy.attendees[0].reply, 0);
    EXPECT_EQ(copy.attendees[1].status, STORE_PARTSTAT_NONE);
    EXPECT_EQ(copy.attendees[1].reply, 0);

    // "Needs action" in place of none is no change; another status stands in the text afterwards.
    const StoreDateTime stamp = copy.lastModified;
    copy.attendees[1].status = STORE_PARTSTAT_NEEDS_ACTION;
    ASSERT_EQ(CALL(CV_CalEditCalItem, &copy, number, events_.c_str(), kActor), STORE_OK);
    EXPECT_TRUE(same(copy.lastModified, stamp));
    EXPECT_EQ(copy.attendees[1].status, STORE_PARTSTAT_NEEDS_ACTION);
    copy.attendees[0].status = STORE_PARTSTAT_ACCEPTED;
    ASSERT_EQ(CALL(CV_CalEditCalItem, &copy, number, events_.c_str(), kActor), STORE_OK);
    EXPECT_FALSE(same(copy.lastModified, stamp));
    EXPECT_EQ(get("a"), event("a",
                              "ORGANIZER:mailto:boss@example.test\r\n"
                              "ATTENDEE;PARTSTAT=ACCEPTED:MAILTO:Alice@example.test\r\n"
                              "ATTENDEE;SCHEDULE-AGENT=CLIENT:mailto:bob@example.test\r\n"));
}

TEST_F(CVCalendarTest, ARangeLosesNothingInTheHourThatOccursTwice) {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    for (const std::string time : {"0015", "0045", "0115", "0145"}) {
        put("BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:" + time + "\nDTSTART:20251026T" + time +
            "00Z\nEND:VEVENT\nEND:VCALENDAR\n");
    }
    // 00:00Z to 01:00Z, and from 01:00Z on.
    const auto found = [this](StoreDateTime start, StoreDateTime end) {
        Events items(*this, 4);
        uint32_t count = 4;
        EXPECT_EQ(CALL(CV_CalGetMultipleCalItemsEx, items.get(), &count, &start, &end,
                       events_.c_str(), kActor, "[SINGLE OCCURRENCE]"),
                  STORE_OK);
        std::string uids;
        for (uint32_t i = 0; i < count; ++i) uids += std::string(items[i].uid) + " ";
        return uids;
    };
    const StoreDateTime two{2025, 10, 0, 26, 2, 0, 0, 0};
    const StoreDateTime four{2025, 10, 0, 26, 4, 0, 0, 0};
    EXPECT_EQ(found(two, two), "0015 0045 ");
    EXPECT_EQ(found(two, four), "0015 0045 0115 0145 ");
    unsetenv("TZ");
    tzset();
}

TEST_F(CVCalendarTest, AFileOfSeveralEventsIsImportedWholeOrNotAtAll) {
    const std::string zone =
        "BEGIN:VTIMEZONE\r\nTZID:Here\r\nBEGIN:STANDARD\r\nDTSTART:19700101T000000\r\n"
        "TZOFFSETFROM:+0100\r\nTZOFFSETTO:+0100\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";
    const std::string head = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nX-WR-CALNAME:n\r\n";
    const std::string a1 =
        "BEGIN:VEVENT\r\nUID:a\r\nDTSTART;TZID=\"Here\":20250601T100000\r\n"
        "RRULE:FREQ=DAILY;COUNT=3\r\nX-UNKNOWN:1\r\nEND:VEVENT\r\n";
    const std::string a2 =
        "BEGIN:VEVENT\r\nUID:a\r\nRECURRENCE-ID;TZID=Here:20250602T100000\r\n"
        "DTSTART;TZID=Here:20250602T120000\r\nEND:VEVENT\r\n";
    const std::string b = "BEGIN:VEVENT\r\nUID:b\r\nDTSTART:20250601T100000Z\r\nEND:VEVENT\r\n";
    const std::string broken = "BEGIN:VEVENT\r\nUID:c\r\nEND:VEVENT\r\n";
    const auto import = [&](const char* folder, const std::string& text, uint32_t& count) {
        uint32_t imported = 0;
        uint32_t failed = 0;
        return CALL(CV_CalImportCalItemsFromICalFile, folder, 0, text.c_str(), &count, &imported,
                    &failed);
    };
    uint32_t count = 0;
    EXPECT_EQ(import(nullptr, head + zone + a1 + a2 + "END:VCALENDAR\r\n", count), STORE_OK);
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(import(nullptr, "garbage", count), STORE_OK);
    EXPECT_EQ(count, 0U);
    const std::string file = head + zone + a1 + b + a2 + "END:VCALENDAR\r\n";
    EXPECT_EQ(import(nullptr, file, count), STORE_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(import(events_.c_str(), head + a1 + broken + "END:VCALENDAR\r\n", count),
              STORE_BAD_DATA);
    EXPECT_EQ(get("a"), "none");
    EXPECT_EQ(import(events_.c_str(), file, count), STORE_OK);
    const std::string own = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n";
    EXPECT_EQ(get("a"), own + zone + a1 + a2 + "END:VCALENDAR\r\n");
    EXPECT_EQ(get("b"), own + b + "END:VCALENDAR\r\n");

    char* text = nullptr;
    EXPECT_EQ(CALL(CV_CalFolderToICalendarString, tasks_.c_str(), &text), 0);
    ASSERT_NE(CALL(CV_CalFolderToICalendarString, events_.c_str(), &text), 0);
    const std::string whole = taken(text);
    EXPECT_NE(whole.find(zone + a1 + a2 + b + "END:VCALENDAR\r\n"), std::string::npos) << whole;
}

TEST_F(CVCalendarTest, TasksKnowTheOccurrencesThatAreCompleted) {
    StoreTaskItem copy;
    CALL(CV_TaskInitTaskItemEx, &copy);
    const std::string recurring =
        "BEGIN:VCALENDAR\nBEGIN:VTODO\nUID:r\nDTSTART:20250601T100000\nRRULE:FREQ=DAILY\n"
        "END:VTODO\nBEGIN:VTODO\nUID:r\nRECURRENCE-ID:20250602T100000\nSTATUS:COMPLETED\n"
        "END:VTODO\nEND:VCALENDAR\n";
    ASSERT_EQ(CALL(CV_TaskReadFromICalendarString, &copy, recurring.c_str(), kActor), STORE_OK);
    ASSERT_EQ(copy.occurrenceCount, 1U);
    EXPECT_TRUE(same(copy.occurrences[0].start, copy.reference));
    EXPECT_EQ(copy.reference.day, 2);
    ASSERT_EQ(CALL(CV_TaskWriteTaskItemEx, &copy, tasks_.c_str(), kActor), STORE_OK);
    const StoreDateTime stamp = copy.lastModified;
    ASSERT_EQ(CALL(CV_TaskCompleteOccurrence, &copy, tasks_.c_str(), kActor), STORE_OK);
    ASSERT_EQ(CALL(CV_TaskEditTaskItemEx, &copy, copy.itemNumber, tasks_.c_str(), kActor),
              STORE_OK);
    EXPECT_TRUE(same(copy.lastModified, stamp));
    CALL(CV_TaskFreeTaskItemEx, &copy);
}

TEST_F(CVCalendarTest, AContactThatIsGoneIsMadeAnew) {
    const std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:inside\r\nFN:A\r\nEND:VCARD\r\n";
    const char* folder = contacts_.c_str();
    StoreContactItem item;
    CALL(CV_ContactInitItemEx, &item);
    ASSERT_EQ(CALL(CV_ContactReadFromVCardString, &item, card.c_str(), kActor), STORE_OK);
    CALL(CV_ContactSetvCardUid, &item, "name");
    ASSERT_EQ(CALL(CV_ContactWriteItemEx, &item, folder, kActor), STORE_OK);
    const std::string gone = item.identifier;
    EXPECT_EQ(gone.size(), 32U);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(CALL(CV_ContactDeleteItem, folder, gone.c_str(), kActor), STORE_OK);
    }
    ASSERT_EQ(CALL(CV_ContactEditItem, &item, item.identifier, folder, kActor), STORE_OK);
    EXPECT_NE(item.identifier, gone);
    EXPECT_EQ(CALL(CV_ContactSetRelatedDAVData, gone.c_str(), folder, "x", 1), STORE_OK);
    EXPECT_TRUE(CALL(CV_ContactGetIDFromvCardUid, "name", folder, &item));
    CALL(CV_ContactFreeItemEx, &item);
}

TEST_F(CVCalendarTest, EventsAreReadFromMessageFilesBelowTheMailDirectory) {
    const std::string directory = store_.paths().mail + "\\example.test\\alice";
    const std::string mail =
        "Subject: x\r\nContent-Type: multipart/mixed;\r\n boundary=\"B\"\r\n\r\n--B\r\n"
        "Content-Type: text/plain\r\n\r\nBEGIN\r\n--B\r\nContent-Type: text/calendar;"
        " method=REQUEST\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" +
        event("mailed", "SUMMARY:=C3=A4=\r\n end\r\n") + "--B--\r\n";
    ASSERT_TRUE(platform::replaceFile(directory + "\\a.imap", mail));
    ASSERT_TRUE(platform::replaceFile(directory + "\\b.ics", event("bare")));
    ASSERT_TRUE(platform::replaceFile(directory + "\\c.imap", "Subject: none\r\n\r\ntext\r\n"));
    Events item(*this);
    const auto read = [&](const std::string& path) {
        return CALL(CV_CalGetCalItemFromMsg, item.get(), path.c_str(), kActor);
    };
    ASSERT_EQ(read(directory + "\\a.imap"), STORE_OK);
    EXPECT_STREQ(item->uid, "mailed");
    ASSERT_EQ(read(directory + "\\b.ics"), STORE_OK);
    EXPECT_STREQ(item->uid, "bare");
    EXPECT_EQ(read(directory + "\\c.imap"), STORE_BAD_DATA);
    EXPECT_EQ(read(directory + "\\none"), STORE_NOT_FOUND);
    EXPECT_EQ(read(directory + "\\..\\..\\..\\Corvane.ini"), STORE_NOT_FOUND);
    EXPECT_EQ(read(store_.paths().mainSettings), STORE_NOT_FOUND);
}

}  // namespace
}  // namespace groupware
