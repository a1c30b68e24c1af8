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

TEST_F(CVCalendarTest, ClientsTextsComeBackByteForByte) {
    const std::map<std::string, std::string> texts = {
        {"plain", event("plain")},
        {"unknown", event("unknown", "X-THING;X-P=\"a;b:c\":value\r\nATTACH;ENCODING=BASE64:" +
                                         std::string(200'000, 'A') + "\r\nno colon here\r\n")},
        {"folded", event("folded", "DESCRIPTION:one \r\n two\r\n\tthree\r\nSUMMARY:\xC3\xA4\r\n")},
        {"latin", event("latin", "SUMMARY:\xE4\r\n b\r\n")},
        {"marked", "\xEF\xBB\xBF" + event("marked")},
        {"stray", "\r\nnote: x\r\n\xEF\xBB\xBF" + event("stray") + "\r\ntail"},
        {"large", event("large", "ATTACH:" + std::string(17'000'000, 'A') + "\r\n")},
        {"bare",
         "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:bare\nDTSTART;VALUE=DATE:20250601\n\nEND:VEVENT\n"
         "END:VCALENDAR"},
        {"odd",
         event("odd", "X-A.UID:other\r\nRRULE:FREQ=FORTNIGHTLY\r\nDURATION:soon\r\nGEO:here\r\n")},
    };
    for (const auto& [uid, text] : texts) put(text);
    for (const auto& [uid, text] : texts) EXPECT_TRUE(get(uid) == text) << uid;
    put(event("plain", "SUMMARY:second\r\n"));
    EXPECT_EQ(get("plain"), event("plain", "SUMMARY:second\r\n"));
    EXPECT_EQ(engine_->database().itemCount(folderOf(ItemKind::kEvent)->key), texts.size());
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
        StoreCalItem item;
        CALL(CV_CalInitCalItemEx, &item);
        EXPECT_NE(CALL(CV_CalReadFromICalendarString, &item, text.c_str(), kActor), STORE_OK)
            << text.substr(0, 80);
        EXPECT_NE(CALL(CV_CalWriteCalItem, &item, events_.c_str(), kActor), STORE_OK);
        CALL(CV_CalFreeCalItemEx, &item);
    }
    EXPECT_EQ(CALL(CV_CalReadFromICalendarString, nullptr, nullptr, nullptr), STORE_BAD_DATA);
    uint32_t count = 0;
    EXPECT_EQ(CALL(CV_CalGetAllItemsEx, nullptr, &count, nullptr, nullptr), STORE_BAD_DATA);
}

TEST_F(CVCalendarTest, FoldersAreOfOneKindAndItemsOfOneUid) {
    StoreCalItem item;
    CALL(CV_CalInitCalItemEx, &item);
    ASSERT_EQ(CALL(CV_CalReadFromICalendarString, &item, event("a").c_str(), kActor), STORE_OK);
    EXPECT_EQ(CALL(CV_CalWriteCalItem, &item, tasks_.c_str(), kActor), STORE_NOT_FOUND);
    EXPECT_EQ(CALL(CV_CalWriteCalItem, &item, (events_ + "x").c_str(), kActor), STORE_NOT_FOUND);
    EXPECT_EQ(CALL(CV_CalWriteCalItem, &item, (events_ + "\\").c_str(), kActor), STORE_OK);
    EXPECT_EQ(CALL(CV_CalDeleteCalItem, tasks_.c_str(), item.itemNumber, kActor), STORE_NOT_FOUND);
    EXPECT_EQ(CALL(CV_CalDeleteCalItem, events_.c_str(), item.itemNumber, kActor), STORE_OK);
    EXPECT_EQ(get("a"), "none");
    CALL(CV_CalFreeCalItemEx, &item);

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
    StoreCalItem item;
    StoreCalItem copy;
    CALL(CV_CalInitCalItemEx, &item);
    CALL(CV_CalInitCalItemEx, &copy);
    ASSERT_EQ(CALL(CV_CalGetCalItemEx, &item, number, events_.c_str(), 0), STORE_OK);
    for (int i = 0; i < 3; ++i) CALL(CV_CalCopyCalItemEx, &copy, &item);
    item.attendees[0].status = STORE_PARTSTAT_DECLINED;
    CALL(CV_CalFreeCalItemEx, &item);
    CALL(CV_CalFreeCalItemEx, &item);
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
    CALL(CV_CalFreeCalItemEx, &copy);
    EXPECT_EQ(get("a"), event("a",
                              "ORGANIZER:mailto:boss@example.test\r\n"
                              "ATTENDEE;PARTSTAT=ACCEPTED:MAILTO:Alice@example.test\r\n"
                              "ATTENDEE;SCHEDULE-AGENT=CLIENT:mailto:bob@example.test\r\n"));
}

TEST_F(CVCalendarTest, ARangeSelectsEventsThatOccurInIt) {
    put(event("single"));
    put(event("weekly", "RRULE:FREQ=WEEKLY\r\n"));
    put(event("ended", "RRULE:FREQ=WEEKLY;UNTIL=20250701T000000Z\r\n"));
    put(event("hostile", "RRULE:FREQ=SECONDLY;COUNT=1000000000\r\n"));
    using Uids = std::vector<std::string>;
    const StoreDateTime june{2025, 6, 0, 1, 0, 0, 0, 0};
    const StoreDateTime july{2025, 7, 0, 10, 0, 0, 0, 0};
    const StoreDateTime august{2025, 8, 0, 10, 0, 0, 0, 0};
    const StoreDateTime open{};
    EXPECT_EQ(uidsInRange(june, july), (Uids{"single", "weekly", "ended", "hostile"}));
    EXPECT_EQ(uidsInRange(july, august), (Uids{"weekly", "hostile"}));
    EXPECT_EQ(uidsInRange(august, open), (Uids{"weekly", "hostile"}));
    EXPECT_EQ(uidsInRange(open, june), (Uids{}));
    EXPECT_EQ(uidsInRange(open, open).size(), 4U);
}

TEST_F(CVCalendarTest, ARangeLosesNothingInTheHourThatOccursTwice) {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
    for (const std::string time : {"0015", "0045", "0115", "0145"}) {
        put("BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:" + time + "\nDTSTART:20251026T" + time +
            "00Z\nEND:VEVENT\nEND:VCALENDAR\n");
    }
    // 00:00Z to 01:00Z, and from 01:00Z on.
    const StoreDateTime two{2025, 10, 0, 26, 2, 0, 0, 0};
    const StoreDateTime four{2025, 10, 0, 26, 4, 0, 0, 0};
    using Uids = std::vector<std::string>;
    EXPECT_EQ(uidsInRange(two, two), (Uids{"0015", "0045"}));
    EXPECT_EQ(uidsInRange(two, four), (Uids{"0015", "0045", "0115", "0145"}));
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

TEST_F(CVCalendarTest, TasksGetUidsAndCompletedOccurrences) {
    const std::string bare =
        "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:one\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    for (int i = 0; i < 2; ++i) {
        StoreTaskItem item;
        CALL(CV_TaskInitTaskItemEx, &item);
        ASSERT_EQ(CALL(CV_TaskReadFromICalendarString, &item, bare.c_str(), kActor), STORE_OK);
        EXPECT_STREQ(item.uid, "");
        ASSERT_EQ(CALL(CV_TaskWriteTaskItemEx, &item, tasks_.c_str(), kActor), STORE_OK);
        CALL(CV_TaskFreeTaskItemEx, &item);
    }
    std::vector<StoreTaskItem> items(4);
    for (auto& item : items) CALL(CV_TaskInitTaskItemEx, &item);
    uint32_t count = 4;
    ASSERT_EQ(CALL(CV_TaskGetAllItemsEx, items.data(), &count, tasks_.c_str()), STORE_OK);
    ASSERT_EQ(count, 2U);
    StoreTaskItem copy;
    CALL(CV_TaskInitTaskItemEx, &copy);
    CALL(CV_TaskCopyTaskItemEx, &copy, items.data());
    CALL(CV_TaskSetiCalUid, &copy, "new-uid");
    EXPECT_STREQ(copy.uid, "new-uid");
    ASSERT_EQ(CALL(CV_TaskEditTaskItemEx, &copy, copy.itemNumber, tasks_.c_str(), ""), STORE_OK);
    uint32_t number = 0;
    EXPECT_TRUE(CALL(CV_TaskGetIDFromiCalUid, tasks_.c_str(), "new-uid", &number));
    char* text = nullptr;
    ASSERT_EQ(CALL(CV_TaskItemToICalendarString, &copy, tasks_.c_str(), kActor, &text), STORE_OK);
    EXPECT_EQ(taken(text),
              "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:new-uid\r\nSUMMARY:one\r\n"
              "END:VTODO\r\nEND:VCALENDAR\r\n");

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
    for (auto& item : items) CALL(CV_TaskFreeTaskItemEx, &item);
}

TEST_F(CVCalendarTest, ContactsAreFiledUnderTheNameThatTheyAreGiven) {
    const std::string card = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:inside\r\nFN:A\r\nEND:VCARD\r\n";
    StoreContactItem item;
    CALL(CV_ContactInitItemEx, &item);
    ASSERT_EQ(CALL(CV_ContactReadFromVCardString, &item, card.c_str(), kActor), STORE_OK);
    EXPECT_STREQ(item.uid, "inside");
    CALL(CV_ContactSetvCardUid, &item, "name");
    EXPECT_FALSE(CALL(CV_ContactGetIDFromvCardUid, "name", contacts_.c_str(), &item));
    ASSERT_EQ(CALL(CV_ContactWriteItemEx, &item, contacts_.c_str(), kActor), STORE_OK);
    EXPECT_EQ(std::strlen(item.identifier), 32U);
    const StoreDateTime stamp = item.lastModified;
    EXPECT_EQ(CALL(CV_ContactSetRelatedDAVData, item.identifier, contacts_.c_str(), card.c_str(),
                   static_cast<uint32_t>(card.size())),
              STORE_OK);
    StoreContactItem found;
    CALL(CV_ContactInitItemEx, &found);
    ASSERT_TRUE(CALL(CV_ContactGetIDFromvCardUid, "name", contacts_.c_str(), &found));
    ASSERT_EQ(CALL(CV_ContactGetItemEx, &found, found.identifier, contacts_.c_str(), 0), STORE_OK);
    EXPECT_TRUE(same(found.lastModified, stamp));
    char* text = nullptr;
    ASSERT_EQ(CALL(CV_ContactItemToVCardString, &found, contacts_.c_str(), 1, &text), STORE_OK);
    EXPECT_EQ(taken(text), card);
    ASSERT_EQ(CALL(CV_ContactItemToVCardString, &found, contacts_.c_str(), 0, &text), STORE_OK);
    EXPECT_EQ(taken(text), "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:inside\r\nFN:A\r\nEND:VCARD\r\n");
    ASSERT_EQ(CALL(CV_ContactEditItem, &found, found.identifier, contacts_.c_str(), kActor),
              STORE_OK);
    ASSERT_EQ(CALL(CV_ContactDeleteItem, contacts_.c_str(), found.identifier, kActor), STORE_OK);
    EXPECT_EQ(CALL(CV_ContactDeleteItem, contacts_.c_str(), found.identifier, kActor), STORE_OK);
    const std::string gone = found.identifier;
    ASSERT_EQ(CALL(CV_ContactEditItem, &found, found.identifier, contacts_.c_str(), kActor),
              STORE_OK);
    EXPECT_NE(found.identifier, gone);
    EXPECT_EQ(CALL(CV_ContactSetRelatedDAVData, gone.c_str(), contacts_.c_str(), "x", 1), STORE_OK);
    EXPECT_TRUE(CALL(CV_ContactGetIDFromvCardUid, "name", contacts_.c_str(), &item));
    CALL(CV_ContactFreeItemEx, &found);
    CALL(CV_ContactFreeItemEx, &item);
}

TEST_F(CVCalendarTest, FreeBusyMergesWhatIsBusy) {
    put(event("a"));
    put(event("b", "STATUS:TENTATIVE\r\nRRULE:FREQ=DAILY;COUNT=2\r\n"));
    put(event("c", "TRANSP:TRANSPARENT\r\n"));
    put(event("d", "STATUS:CANCELLED\r\n"));
    put("BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:e\nDTSTART:20250601T103000Z\nDURATION:PT1H\n"
        "END:VEVENT\nEND:VCALENDAR\n");
    // No answer is none yet, but for one's own meeting; an alias answers as well.
    EXPECT_FALSE(addAlias(*engine_, "alice@example.test", "al@example.test"));
    const auto meeting = [](const std::string& uid, const std::string& hour,
                            const std::string& people) {
        return "BEGIN:VCALENDAR\nBEGIN:VEVENT\nUID:" + uid + "\nDTSTART:20250602T" + hour +
               "0000Z\nDURATION:PT1H\n" + people + "END:VEVENT\nEND:VCALENDAR\n";
    };
    put(meeting("f", "12", "ATTENDEE:mailto:alice@example.test\n"));
    put(meeting("g", "14",
                "ORGANIZER:mailto:alice@example.test\nATTENDEE:mailto:al@example.test\n"));
    put(meeting("h", "16", "ATTENDEE;PARTSTAT=DECLINED:mailto:al@example.test\n"));
    const std::string request =
        "BEGIN:VCALENDAR\r\nMETHOD:REQUEST\r\nBEGIN:VFREEBUSY\r\nUID:r\r\n"
        "DTSTART:20250601T000000Z\r\nDTEND:20250603T000000Z\r\nORGANIZER:mailto:bob@other.test\r\n"
        "ATTENDEE;CN=A:mailto:alice@example.test\r\nATTENDEE:mailto:bob@other.test\r\n"
        "END:VFREEBUSY\r\nEND:VCALENDAR\r\n";
    char* recipients = nullptr;
    char* text = nullptr;
    EXPECT_EQ(CALL(CV_CalProcessICalFBRequest, event("a").c_str(), kActor, &recipients, &text),
              STORE_BAD_DATA);
    EXPECT_EQ(recipients, nullptr);
    ASSERT_EQ(CALL(CV_CalProcessICalFBRequest, request.c_str(), kActor, &recipients, &text),
              STORE_OK);
    EXPECT_EQ(taken(recipients), "alice@example.test|bob@other.test");
    std::string recipient = "alice@example.test";
    char* one = recipient.data();
    ASSERT_EQ(CALL(CV_CalProcessICalFBRequest, request.c_str(), kActor, &one, &text), STORE_OK);
    const std::string reply = taken(text);
    EXPECT_NE(reply.find("ATTENDEE;CN=A:mailto:alice@example.test\r\n"
                         "FREEBUSY;FBTYPE=BUSY:20250601T100000Z/20250601T113000Z\r\n"
                         "FREEBUSY;FBTYPE=BUSY:20250602T140000Z/20250602T150000Z\r\n"
                         "FREEBUSY;FBTYPE=BUSY-TENTATIVE:20250601T100000Z/20250601T110000Z\r\n"
                         "FREEBUSY;FBTYPE=BUSY-TENTATIVE:20250602T100000Z/20250602T110000Z\r\n"
                         "FREEBUSY;FBTYPE=BUSY-TENTATIVE:20250602T120000Z/20250602T130000Z\r\n"
                         "END:VFREEBUSY\r\n"),
              std::string::npos)
        << reply;
    recipient = "bob@other.test";
    one = recipient.data();
    EXPECT_EQ(CALL(CV_CalProcessICalFBRequest, request.c_str(), kActor, &one, &text),
              STORE_NOT_LOCAL);
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
    StoreCalItem item;
    CALL(CV_CalInitCalItemEx, &item);
    const auto read = [&](const std::string& path) {
        return CALL(CV_CalGetCalItemFromMsg, &item, path.c_str(), kActor);
    };
    ASSERT_EQ(read(directory + "\\a.imap"), STORE_OK);
    EXPECT_STREQ(item.uid, "mailed");
    ASSERT_EQ(read(directory + "\\b.ics"), STORE_OK);
    EXPECT_STREQ(item.uid, "bare");
    EXPECT_EQ(read(directory + "\\c.imap"), STORE_BAD_DATA);
    EXPECT_EQ(read(directory + "\\none"), STORE_NOT_FOUND);
    EXPECT_EQ(read(directory + "\\..\\..\\..\\Corvane.ini"), STORE_NOT_FOUND);
    EXPECT_EQ(read(store_.paths().mainSettings), STORE_NOT_FOUND);
    CALL(CV_CalFreeCalItemEx, &item);
}

}  // namespace
}  // namespace groupware
