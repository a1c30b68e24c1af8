#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "groupware/ical/Occurrences.h"

namespace groupware {
namespace {

constexpr const char* kBerlin =
    "BEGIN:VTIMEZONE\nTZID:Home\n"
    "BEGIN:DAYLIGHT\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\nDTSTART:19810329T020000\n"
    "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\nEND:DAYLIGHT\n"
    "BEGIN:STANDARD\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\nDTSTART:19961027T030000\n"
    "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU;UNTIL=20471027\nEND:STANDARD\nEND:VTIMEZONE\n";

int64_t ms(const std::string& utc) {
    return parseIcalTime(utc, {})->wall * 1000;
}

CalendarObject parsed(const std::string& components) {
    std::string problem;
    auto event = CalendarObject::parse(
        ItemKind::kEvent, "BEGIN:VCALENDAR\n" + components + "END:VCALENDAR\n", problem);
    EXPECT_TRUE(event) << problem << components;
    return *event;
}

std::string vevent(const std::string& lines) {
    return "BEGIN:VEVENT\nUID:u\n" + lines + "END:VEVENT\n";
}

/// The server stands in New York: 5 hours behind UTC in winter, 4 in summer.
class RecurrenceOccurrences : public ::testing::Test {
  protected:
    RecurrenceOccurrences() {
        setenv("TZ", "America/New_York", 1);
        tzset();
    }
    ~RecurrenceOccurrences() override {
        unsetenv("TZ");
        tzset();
    }
};

/// The lines of an event, and what it has in the days from a date on: that date, "+" the number of
/// days if there are several, and its times in UTC, with their dates where they have another.
using Case = std::pair<const char*, const char*>;

constexpr Case kCases[] = {
    // An end of its own, a length, neither, and both.
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n", "20250601 1000/1100"},
    {"DTSTART:20250601T100000Z\nDURATION:PT1H\n", "20250601 1000/1100"},
    {"DTSTART:20250601T100000Z\nDURATION:PT0S\n", "20250601 1000"},
    {"DTSTART:20250601T100000Z\n", "20250601 1000"},
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\nDURATION:PT0S\n", "20250601 1000/1100"},
    // An end before the start, times in the extended form, without seconds, at 24:00.
    {"DTSTART:20250601T100000Z\nDTEND:20250601T090000Z\n", "20250601 1000"},
    {"DTSTART: 2025-06-01t10:00z \nDTEND:20250601T2400Z\n", "20250601+2 1000/0602T0000"},
    {"DTSTART:2025-06-01T10:00:00Z\nDTEND:20250601T240000Z\n", "20250601+2 1000/0602T0000"},
    {"DTSTART;VALUE=DATE:20250601T120000Z\n", "20250601+2 0400/0602T0400"},
    // Rules that leave out: the start too, when it is one of their times.
    {"DTSTART:20250601T100000Z\nRRULE:FREQ=DAILY\nEXRULE:FREQ=WEEKLY;BYDAY=SU,MO;COUNT=2\n",
     "20250601+3 0603T1000"},
    {"DTSTART:20250601T100000Z\nRRULE:FREQ=DAILY\nEXRULE:FREQ=WEEKLY;BYDAY=SU,MO;COUNT=2\n",
     "20250608 1000"},
    {"DTSTART:20250601T100000Z\nEXRULE:FREQ=WEEKLY;BYDAY=MO\n", "20250601 1000"},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY\nEXRULE:FREQ=DAILY;UNTIL=20250604\n",
     "20250601+5 0605T0400/0606T0400"},
    // Instances that are left out by a day, on the clock of the series, or on another clock.
    {"DTSTART;TZID=W. Europe Standard Time:20250601T100000\nRRULE:FREQ=DAILY\n"
     "EXDATE:20250602T100000,,20250603T080000z\nEXDATE;VALUE=DATE:20250604\n"
     "EXDATE;TZID=Tokyo Standard Time :20250605T170000\n",
     "20250601+6 0800 0606T0800"},
    {"DTSTART;TZID=\"(UTC+01:00) Bern, Nowhere, Berlin\":20250601T100000\n", "20250601 0800"},
    {"DTSTART;TZID=\"(GMT-05.00) Eastern Time (US & Canada)\":20250601T100000\n", "20250601 1400"},
    {"DTSTART;TZID=\"(UTC+05:45) Somewhere\":20250601T100000\n", "20250601 0415"},
    {"DTSTART;TZID=/mozilla.org/20070129_1/UTC:20250601T100000\n", "20250601 1000"},
    // A rule of positions looks at whole periods, also where the start cuts the first.
    {"DTSTART:20000229T120000Z\nRRULE:FREQ=WEEKLY;BYDAY=FR,MO,SU;BYSETPOS=1\n",
     "20000301+6 0306T1200"},
    {"DTSTART:19040229T120000Z\nRRULE:FREQ=YEARLY\n", "21000101+1521 0229T1200"},
    // Whole days and floating times, on the server's clock.
    {"DTSTART;VALUE=DATE:20250601\n", "20250501+33 0601T0400/0602T0400"},
    {"DTSTART;VALUE=DATE:20250601\nDTEND;VALUE=DATE:20250604\n", "20250601+4 0400/0604T0400"},
    {"DTSTART:20250601T100000\nDURATION:PT1H\n", "20250601 1400/1500"},
    // Zones: told in the item, by name, by a prefixed name, unknown.
    {"DTSTART;TZID=Home:20250601T100000\nDURATION:PT1H\n", "20250601 0800/0900"},
    {"DTSTART;TZID=\"Home \":20250101T100000\nDURATION:PT1H\n", "20250101 0900/1000"},
    {"DTSTART;TZID=Europe/Berlin:20250601T100000\nDURATION:PT1H\n", "20250601 0800/0900"},
    {"DTSTART;TZID=/a.test/x/Europe/Berlin:20250101T100000\n", "20250101 0900"},
    {"DTSTART;TZID=/a.test/x/America/Argentina/Salta:20250101T100000\n", "20250101 1300"},
    {"DTSTART;TZID=No/Where:20250601T100000\n", "20250601 1400"},
    // The hours that are skipped and doubled.
    {"DTSTART;TZID=Home:20250330T023000\n", "20250330 0130"},
    {"DTSTART;TZID=Europe/Berlin:20250330T023000\n", "20250330 0130"},
    {"DTSTART;TZID=Home:20251026T023000\n", "20251026 0030"},
    {"DTSTART;TZID=Europe/Berlin:20251026T023000\n", "20251026 0030"},
    {"DTSTART;TZID=Home:20251026T030000\n", "20251026 0200"},
    {"DTSTART;TZID=Home:20250329T100000\nRRULE:FREQ=DAILY\n", "20250330 0800"},
    {"DTSTART;TZID=Home:20250329T100000\nDURATION:P1D\n", "20250329+2 0900/0330T0800"},
    {"DTSTART;TZID=Europe/Berlin:20600705T100000\n", "20600705 0800"},
    {"DTSTART;TZID=Home:20471215T100000\n", "20471215 0900"},
    // Rules with their ends.
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=WEEKLY\n", "20450104+3 1000"},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY;COUNT=3\n", "20250103+366 1000"},
    {"DTSTART;TZID=Home:20250601T100000\nRRULE:FREQ=DAILY;UNTIL=20250603T080000Z\n",
     "20250603+2 0800"},
    {"DTSTART;TZID=Home:20250601T100000\nRRULE:FREQ=DAILY;UNTIL=20250603T075959Z\n", "20250603+2"},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;UNTIL=20250603\n",
     "20250603+12 0602T0400/0400 0400/0604T0400"},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;BYHOUR=7,8;COUNT=9\n",
     "20250610+3 0609T0400/0400"},
    // Further dates and exceptions, also of another type than the start.
    {"DTSTART:20250101T100000Z\nRDATE:20250301T100000Z,20250401T100000Z\n",
     "20250301+32 1000 0401T1000"},
    {"DTSTART:20250101T100000Z\nRDATE;VALUE=PERIOD:20250301T100000Z/PT5H\n", "20250301 1000/1500"},
    {"DTSTART:20250101T100000Z\nRDATE;VALUE=PERIOD:20250301T100000Z/20250301T120000Z\n",
     "20250301 1000/1200"},
    // Further dates on another clock: the same time on it is another, another time the same.
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T100000Z\nEXDATE;TZID=Home:"
     "20250601T100000\n",
     "20250601 1000"},
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T080000Z\nEXDATE;TZID=Home:"
     "20250601T100000\n",
     "20250601"},
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T100000\n", "20250601 0800"},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY\nEXDATE:20250105T100000Z\n",
     "20250105+2 0106T1000"},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY\nEXDATE;VALUE=DATE:20250105\n",
     "20250105+2 0106T1000"},
    {"DTSTART;TZID=Home:20250101T100000\nRRULE:FREQ=DAILY\nEXDATE:20250105T090000Z\n",
     "20250105+2 0106T0900"},
    {"DTSTART;VALUE=DATE:20250101\nRRULE:FREQ=DAILY\nEXDATE:20250105T000000\n",
     "20250105 0104T0500/0500"},
};

std::string timeText(int64_t atMs, const std::string& date) {
    const auto t = dateTimeFromWall(atMs / 1000);
    char text[32];
    std::snprintf(text, sizeof text, "%02u%02uT%02u%02u", unsigned{t.month}, unsigned{t.day},
                  unsigned{t.hour}, unsigned{t.minute});
    return std::string_view(text).starts_with(date.substr(4)) ? text + 5 : text;
}

void expectTimes(const CalendarObject& event, const std::string& lines, const char* expected) {
    const std::string found(expected);
    const std::string date = found.substr(0, 8);
    const int64_t days = found.substr(8, 1) == "+" ? std::stoi(found.substr(9)) : 1;
    const TimeRange range{ms(date + "T000000Z"), ms(date + "T000000Z") + days * 86'400'000};
    std::vector<Occurrence> times;
    StepBudget budget(kItemSteps);
    EXPECT_TRUE(eachOccurrence(event, range, budget, [&](const Occurrence& occurrence) {
        times.push_back(occurrence);
        return true;
    }));
    std::ranges::sort(times, {}, &Occurrence::startMs);
    std::string text = found.substr(0, found.find(' '));
    std::vector<TimeRange> edges = {range};
    for (const auto& [start, end, component] : times) {
        text += " " + timeText(start, date);
        if (end > start) text += "/" + timeText(end, date);
        for (const int64_t at : {start - 1, start, end - 1, end}) edges.push_back({at, at + 1});
    }
    EXPECT_EQ(text, expected) << lines;
    // The span decides first: it must never hide an event that occurs, and must be right alone
    // when it says that it is.
    const ItemSpan span = spanOf(event);
    for (const TimeRange& edge : edges) {
        if (edge.fromMs < range.fromMs || edge.toMs > range.toMs) continue;
        const bool occurs = std::ranges::any_of(times, [&](const Occurrence& occurrence) {
            return occurrence.startMs < edge.toMs &&
                   std::max(occurrence.endMs, occurrence.startMs + 1) > edge.fromMs;
        });
        StepBudget steps(kItemSteps);
        EXPECT_EQ(occursIn(event, edge, steps), occurs) << lines << edge.fromMs;
        const bool inSpan = span.firstStartMs < edge.toMs && span.lastEndMs > edge.fromMs;
        EXPECT_TRUE(span.exact ? inSpan == occurs : inSpan || !occurs) << lines << edge.fromMs;
    }
}

TEST_F(RecurrenceOccurrences, AreThoseOfTheTable) {
    for (const auto& [lines, expected] : kCases) {
        expectTimes(parsed(kBerlin + vevent(lines)), lines, expected);
    }
}

TEST_F(RecurrenceOccurrences, ChangedInstancesStandWhereTheyWereMoved) {
    const std::string series =
        vevent("DTSTART;TZID=Home:20250602T100000\nDURATION:PT1H\nRRULE:FREQ=WEEKLY;COUNT=6\n");
    const CalendarObject moved =
        parsed(kBerlin + series +
               vevent("RECURRENCE-ID:20250609T080000Z\nDTSTART:20250712T080000Z\nDURATION:PT1H\n"));
    const CalendarObject shifted =
        parsed(kBerlin + series +
               vevent("RECURRENCE-ID;RANGE=THISANDFUTURE;TZID=Home:20250616T100000\n"
                      "DTSTART;TZID=Home:20250617T150000\nDURATION:PT2H\n"));
    const CalendarObject later =
        parsed(kBerlin + vevent("DTSTART;TZID=Home:20250301T100000\nRRULE:FREQ=WEEKLY\n") +
               vevent("RECURRENCE-ID;RANGE=THISANDFUTURE;VALUE=DATE:20250329\n"
                      "DTSTART;TZID=Home:20250331T110000\n"));
    const CalendarObject noClock =
        parsed(kBerlin + vevent("DTSTART;TZID=Home:20250301T100000\nRRULE:FREQ=WEEKLY\n") +
               vevent("RECURRENCE-ID;RANGE=THISANDFUTURE:20250322T090000Z\n"
                      "DTSTART:20250322T100000Z\n"));
    const CalendarObject twoOfOneUid =
        parsed(vevent("DTSTART:20250601T100000Z\n") +
               vevent("DTSTART:20250701T100000Z\nRRULE:FREQ=DAILY;COUNT=3\n"));
    const CalendarObject alone =
        parsed(vevent("RECURRENCE-ID:20250609T080000Z\nDTSTART:20250612T080000Z\n"));
    const std::pair<const CalendarObject&, const char*> cases[] = {
        {moved, "20250609"},
        {moved, "20250712 0800/0900"},
        {moved, "20250616 0800/0900"},
        {shifted, "20250609 0800/0900"},
        {shifted, "20250616+2 0617T1300/0617T1500"},
        {shifted, "20250623"},
        {shifted, "20250708+366 1300/1500"},
        {later, "20250407 0900"},
        {noClock, "20250405 0900"},
        {twoOfOneUid, "20250703+366 1000"},
        {alone, "20250609"},
        {alone, "20250612 0800"},
    };
    for (const auto& [event, expected] : cases) expectTimes(event, "", expected);
}

TEST_F(RecurrenceOccurrences, WhatCannotBeToldWithinTheStepsMayOccur) {
    const TimeRange june{ms("20250601T000000Z"), ms("20250701T000000Z")};
    const TimeRange before{ms("20240101T000000Z"), ms("20240201T000000Z")};
    const std::string rule = "DTSTART:20250101T100000Z\nRRULE:FREQ=";
    const struct {
        std::string lines;
        bool occurs;
    } cases[] = {
        {rule + "SECONDLY;COUNT=1000000000\n", true},
        {rule + "MINUTELY;BYMONTH=2;BYMONTHDAY=30\n", false},
        {rule + "DAILY;BYMONTH=2;BYMONTHDAY=30\n", false},
        {rule + "SECONDLY;BYSECOND=7;COUNT=1000000000\n", true},
        {rule + "SECONDLY;INTERVAL=2;BYSECOND=1\n", true},
        {rule + "SECONDLY;INTERVAL=2;BYSECOND=1;UNTIL=20250301T000000Z\n", false},
        {rule + "NEVER\n", true},
        {rule + "DAILY;COUNT=400\n", true},
        {rule + "HOURLY;INTERVAL=100000\n", false},
    };
    for (const auto& each : cases) {
        const CalendarObject event = parsed(vevent(each.lines));
        StepBudget steps(kItemSteps);
        EXPECT_EQ(occursIn(event, june, steps), each.occurs) << each.lines;
        StepBudget again(kItemSteps);
        EXPECT_FALSE(occursIn(event, before, again)) << each.lines;
    }
    // Many rules or series cost no more than one.
    std::string rules = "DTSTART:20250101T100000Z\n";
    std::string all;
    for (int i = 0; i < 30'000; ++i) {
        rules += "RRULE:FREQ=DAILY;BYHOUR=10;COUNT=15000\n";
        all += vevent("DTSTART:20250101T100000Z\n") +
               vevent("DTSTART:20250101T100000Z\nRECURRENCE-ID:20250101T100000Z\n");
    }
    EXPECT_EQ(spanOf(parsed(vevent(rules))).lastEndMs, INT64_MAX);
    StepBudget few(kItemSteps);
    EXPECT_FALSE(eachOccurrence(parsed(all), june, few, [](const Occurrence&) { return true; }));
    // A zone that is a thicket of rules costs no more than any other.
    std::string zone = "BEGIN:VTIMEZONE\nTZID:T\n";
    for (int i = 0; i < 500; ++i) {
        zone +=
            "BEGIN:STANDARD\nDTSTART:19700101T000000\nTZOFFSETFROM:+0100\nTZOFFSETTO:+0200\n"
            "RRULE:FREQ=SECONDLY;BYSECOND=1\nEND:STANDARD\n";
    }
    const CalendarObject thicket = parsed(
        zone + "END:VTIMEZONE\n" + vevent("DTSTART;TZID=T:20250101T100000\nRRULE:FREQ=DAILY\n"));
    StepBudget steps(kItemSteps);
    EXPECT_TRUE(occursIn(thicket, june, steps));
}

TEST_F(RecurrenceOccurrences, ZonesAreLookedForWithinTheSteps) {
    std::string lines = "DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY\n";
    for (int i = 0; i < 30; ++i) {
        lines += "EXDATE;TZID=Nowhere/Z" + std::to_string(i) + ":20250105T100000\n";
    }
    const CalendarObject event = parsed(vevent(lines));
    StepBudget scarce(10'000);
    EXPECT_TRUE(occursIn(event, {ms("20250107T000000Z"), ms("20250108T000000Z")}, scarce));
    EXPECT_TRUE(scarce.spent());
    // What is no zone is kept as well: the next look costs little.
    for (const bool known : {false, true}) {
        StepBudget budget(kItemSteps);
        occursIn(event, {ms("20250107T000000Z"), ms("20250108T000000Z")}, budget);
        EXPECT_FALSE(budget.spent());
        EXPECT_EQ(budget.left() > kItemSteps - 5'000, known);
    }
    // Beyond a number that nobody needs, a zone is no zone, and the server's clock counts.
    for (const int count : {63, 64}) {
        std::string many = "DTSTART:20250101T100000Z\n";
        for (int i = 0; i < count; ++i) {
            many += "EXDATE;TZID=N" + std::to_string(i) + ":20250105T100000\n";
        }
        many += "RDATE;TZID=Europe/Berlin:20250601T100000\n";
        StepBudget budget(10 * kItemSteps);
        const TimeRange inBerlin{ms("20250601T080000Z"), ms("20250601T080001Z")};
        EXPECT_EQ(occursIn(parsed(vevent(many)), inBerlin, budget), count < 64);
    }
}

}  // namespace
}  // namespace groupware
