// Events with every odd thing that real calendars hold, the same at every run.
#include "groupware/items/Transfer.h"
#include "tests/groupware/CVCalendarFixture.h"

namespace groupware {
namespace {

/// One row is one way to tell the time of an event, with all that goes with it.
constexpr std::string_view kOddTimes[] = {
    "DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n",
    "DTSTART:20250601\nDTEND:20250602\n",
    "DTSTART;VALUE=DATE:20250601T000000\n",
    "dtstart;value=date:20240229\nRRULE:FREQ=YEARLY\n",
    "DTSTART;TZID=Odd Zone :20250601T100000\nDTEND;TZID=Odd Zone :20250601T090000\n",
    "DTSTART;TZID=\"(UTC+01:00) Amsterdam, Berlin\":20250601T100000\nDURATION:PT0S\n",
    "DTSTART;TZID=/mozilla.org/20070129_1/Europe/Berlin:20250601T100000\nDURATION:P1W\n",
    "DTSTART;TZID=W. Europe Standard Time:20250601T100000\nRRULE:FREQ=DAILY;COUNT=1000000000\n",
    "DTSTART;TZID=Nowhere/Land:20250601T100000\nRRULE:FREQ=SECONDLY\n",
    "DTSTART: 2025-06-01T10:00:00 \nDTEND:20250601T110000\nDURATION:PT0S\n",
    "DTSTART:19030102t030405\nRRULE:FREQ=WEEKLY;WKST=SU;INTERVAL=2;BYDAY=SU,MO;UNTIL=20500101\n",
    "DTSTART:20380119T031408Z\nRRULE:FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=-1;UNTIL=20400101T000000\n",
    "DTSTART:20250131T100000Z\nRRULE:FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30\n",
    "DTSTART:20250601T100000Z\nRRULE:FREQ=DAILY\nEXRULE:FREQ=WEEKLY;BYDAY=SA,SU\n",
    "DTSTART;TZID=Europe/Berlin:20250601T100000\nRRULE:FREQ=DAILY\nEXDATE;VALUE=DATE:20250602\n"
    "EXDATE:20250603T100000,20250604T080000Z\nEXDATE;TZID=Asia/Tokyo:20250605T170000,\n",
    "DTSTART:20250601T100000Z\nRDATE;VALUE=PERIOD:20250701T100000Z/PT2H,20250801T100000Z/"
    "20250801T130000Z\nRDATE;VALUE=DATE:20250901\n",
    "DTSTART:20250601T246060Z\nRRULE:FREQ=NEVER;X\nDTSTART:20250601T100000Z\n",
};

/// What else stands in events; "\n" is the line end, "~" a fold.
constexpr std::string_view kOddLines[] = {
    "SUMMARY:plain\n",
    "X-MICROSOFT-CDO-BUSYSTATUS:OOF\nX-ODD;X=\"a;b:c\",\"d\";Y:e\\;f\\,g\\nh\n",
    "DESCRIPTION:fo~ld~~ed\\n\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\n",
    "DESCRIPTION:tab\there\tand trailing blanks  \n",
    "SUMMARY;LANGUAGE=de;ALTREP=\"CID:x@y\":Z\xC3\xBC~rich \n",
    "ATTACH;ENCODING=BASE64;VALUE=BINARY;FMTTYPE=image/png:iVBORw0KGgo~AAAANSUhEUg~==\n",
    "ORGANIZER;CN=\"O, "
    "r\":mailto:o@example.org\nATTENDEE;RSVP=TRUE;CN=~Long:MAILTO:a@example.test\n"
    "ATTENDEE;CUTYPE=ROOM:urn:uuid:1\n",
    "BEGIN:VALARM\nUID:alarm\nTRIGGER;RELATED=END:-PT5M\nACTION:DISPLAY\nBEGIN:X-DEEPER\nA:b\n"
    "END:X-DEEPER\nEND:VALARM\n",
    "BEGIN:VALARM\nEND:VALARM\nBEGIN:VALARM\nTRIGGER:x\nEND:VALARM\n",
    "CATEGORIES:a,b\nCATEGORIES:c\nGEO:1;2\nPRIORITY:high\nSTATUS:confirmed\n",
    "URL:http://x/?a:b;c=\"d\nNO COLON HERE\n:no name\n\n",
    "COMMENT:\xE4\xF6 is no UTF-8\nSEQUENCE:-1\nTRANSP:transparent\n",
};

/// The lines with that line end, folded where they say so.
std::string oddLines(std::string_view lines, std::string_view lineEnd) {
    std::string text;
    for (const char c : lines) {
        if (c == '\n') {
            text += lineEnd;
        } else if (c == '~') {
            text.append(lineEnd).append(text.size() % 2 == 0 ? " " : "\t");
        } else {
            text += c;
        }
    }
    return text;
}

std::string oddZone(std::string_view lineEnd) {
    return oddLines(
        "BEGIN:VTIMEZONE\nTZID:Odd Zone\nX-LIC-LOCATION:Odd\nBEGIN:STANDARD\n"
        "DTSTART:16010101T000000\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\n"
        "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\nEND:STANDARD\nEND:VTIMEZONE\n",
        lineEnd);
}

/// The components of the event of that number; each fifth one has a changed instance.
std::string oddEvent(size_t number, std::string_view lineEnd) {
    const std::string uid = "UID:odd-" + std::to_string(number) + "@\xC3\xA4\n";
    std::string lines = "BEGIN:VEVENT\n" + uid;
    lines += kOddTimes[number % std::size(kOddTimes)];
    lines += kOddLines[number % std::size(kOddLines)];
    lines += kOddLines[number / 7 % std::size(kOddLines)];
    lines += "END:VEVENT\n";
    if (number % 5 == 0) {
        lines += "BEGIN:VEVENT\n" + uid + "RECURRENCE-ID;RANGE=THISANDFUTURE:20250608T100000Z\n" +
                 "DTSTART:20250608T110000Z\nEND:VEVENT\n";
    }
    return oddLines(lines, lineEnd);
}

/// The calendar of one such event.
std::string oddCalendar(size_t number, std::string_view lineEnd) {
    const std::string mark = number % 3 == 0 ? "\xEF\xBB\xBF" : "";
    return mark + oddLines("BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:~x\nX-WR-CALNAME:n\n", lineEnd) +
           oddZone(lineEnd) + oddEvent(number, lineEnd) + oddLines("END:VCALENDAR\n", lineEnd);
}

/// Every way to tell the time with every other oddity.
constexpr size_t kCombinations = std::size(kOddTimes) * std::size(kOddLines);

using OddEvents = CVCalendarFixture;

TEST_F(OddEvents, ComeBackAsTheyWerePut) {
    for (size_t i = 0; i < kCombinations; ++i) {
        const std::string text = oddCalendar(i, i % 7 == 0 ? "\r" : i % 2 == 0 ? "\r\n" : "\n");
        put(text);
        EXPECT_EQ(get("odd-" + std::to_string(i) + "@\xC3\xA4"), text);
        if (HasFailure()) return;
    }
}

TEST_F(OddEvents, SurviveExportAndImport) {
    constexpr size_t kEvents = 10'000;
    std::string all = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + oddZone("\r\n");
    for (size_t i = 0; i < kEvents; ++i) all += oddEvent(i, i % 2 == 0 ? "\r\n" : "\n");
    all += "END:VCALENDAR\r\n";
    const FolderRow first = *folderOf(ItemKind::kEvent);
    EXPECT_FALSE(addFolder(*engine_, kActor, ItemKind::kEvent, "Second"));
    const FolderRow second = *engine_->database().folder(first.key.account, "Second");

    const ImportCounts counts = importItems(*engine_, first, all);
    EXPECT_EQ(counts.imported, kEvents) << counts.firstProblem;
    const std::string text = exportFolder(*engine_, first);
    EXPECT_EQ(importItems(*engine_, second, text).imported, kEvents);
    EXPECT_TRUE(exportFolder(*engine_, second) == text);
    EXPECT_EQ(importItems(*engine_, first, text).imported, 0U);
    EXPECT_EQ(importItems(*engine_, first, all).imported, 0U);
    for (size_t i = 0; i < kEvents; i += 997) {
        const std::string event = oddEvent(i, i % 2 == 0 ? "\r\n" : "\n");
        EXPECT_NE(get("odd-" + std::to_string(i) + "@\xC3\xA4").find(event), std::string::npos);
    }
}

TEST_F(OddEvents, WhatIsNoTextIsRefused) {
    const FolderRow folder = *folderOf(ItemKind::kEvent);
    std::string text = oddCalendar(0, "\r\n");
    text.insert(text.find("SUMMARY"), 1, '\0');
    EXPECT_EQ(importItems(*engine_, folder, text).firstProblem, "the text holds a NUL");
}

}  // namespace
}  // namespace groupware
