// Events with every odd thing that real calendars hold, the same at every run.
#pragma once

#include <string>
#include <string_view>

namespace groupware {

/// One row is one way to tell the time of an event, with all that goes with it.
inline constexpr std::string_view kOddTimes[] = {
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
inline constexpr std::string_view kOddLines[] = {
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
inline std::string oddLines(std::string_view lines, std::string_view lineEnd) {
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

inline std::string oddZone(std::string_view lineEnd) {
    return oddLines(
        "BEGIN:VTIMEZONE\nTZID:Odd Zone\nX-LIC-LOCATION:Odd\nBEGIN:STANDARD\n"
        "DTSTART:16010101T000000\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\n"
        "RRULE:FREQ=YEARLY;BYDAY=-1SU;BYMONTH=10\nEND:STANDARD\nEND:VTIMEZONE\n",
        lineEnd);
}

/// The components of the event of that number; each fifth one has a changed instance.
inline std::string oddEvent(size_t number, std::string_view lineEnd) {
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
inline std::string oddCalendar(size_t number, std::string_view lineEnd) {
    const std::string mark = number % 3 == 0 ? "\xEF\xBB\xBF" : "";
    return mark + oddLines("BEGIN:VCALENDAR\nVERSION:2.0\nPRODID:~x\nX-WR-CALNAME:n\n", lineEnd) +
           oddZone(lineEnd) + oddEvent(number, lineEnd) + oddLines("END:VCALENDAR\n", lineEnd);
}

}  // namespace groupware
