#include <cstdlib>
#include <ctime>
#include <string>

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

struct Case {
    const char* lines;
    const char* from;
    const char* to;
    bool occurs;
};

// Each pair of rows stands on both sides of an edge.
constexpr Case kCases[] = {
    // An end of its own, a length, neither.
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n", "20250601T105959Z", "20250602T000000Z",
     true},
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n", "20250601T110000Z", "20250602T000000Z",
     false},
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n", "20250601T000000Z", "20250601T100001Z",
     true},
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\n", "20250601T000000Z", "20250601T100000Z",
     false},
    {"DTSTART:20250601T100000Z\nDURATION:PT1H\n", "20250601T105959Z", "20250602T000000Z", true},
    {"DTSTART:20250601T100000Z\nDURATION:PT1H\n", "20250601T110000Z", "20250602T000000Z", false},
    {"DTSTART:20250601T100000Z\nDURATION:PT0S\n", "20250601T100000Z", "20250602T000000Z", true},
    {"DTSTART:20250601T100000Z\nDURATION:PT0S\n", "20250601T100001Z", "20250602T000000Z", false},
    {"DTSTART:20250601T100000Z\n", "20250601T100000Z", "20250602T000000Z", true},
    {"DTSTART:20250601T100000Z\n", "20250601T000000Z", "20250601T100000Z", false},
    {"DTSTART:20250601T100000Z\nDTEND:20250601T110000Z\nDURATION:PT0S\n", "20250601T103000Z",
     "20250602T000000Z", true},
    // An end before the start, times in the extended form, without seconds, at 24:00.
    {"DTSTART:20250601T100000Z\nDTEND:20250601T090000Z\n", "20250601T100000Z", "20250601T100001Z",
     true},
    {"DTSTART: 2025-06-01t10:00z \nDTEND:20250601T2400Z\n", "20250601T235959Z", "20250602T000000Z",
     true},
    {"DTSTART:2025-06-01T10:00:00Z\nDTEND:20250601T240000Z\n", "20250602T000000Z",
     "20250603T000000Z", false},
    {"DTSTART;VALUE=DATE:20250601T120000Z\n", "20250602T035959Z", "20250603T000000Z", true},
    // Rules that leave out: the start too, when it is one of their times.
    {"DTSTART:20250601T100000Z\nRRULE:FREQ=DAILY\nEXRULE:FREQ=WEEKLY;BYDAY=SU,MO;COUNT=2\n",
     "20250601T000000Z", "20250603T000000Z", false},
    {"DTSTART:20250601T100000Z\nRRULE:FREQ=DAILY\nEXRULE:FREQ=WEEKLY;BYDAY=SU,MO;COUNT=2\n",
     "20250608T000000Z", "20250609T000000Z", true},
    {"DTSTART:20250601T100000Z\nEXRULE:FREQ=WEEKLY;BYDAY=MO\n", "20250601T000000Z",
     "20250602T000000Z", true},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY\nEXRULE:FREQ=DAILY;UNTIL=20250604\n",
     "20250602T120000Z", "20250604T120000Z", false},
    // Instances that are left out by a day, on the clock of the series, or on another clock.
    {"DTSTART;TZID=W. Europe Standard Time:20250601T100000\nRRULE:FREQ=DAILY\n"
     "EXDATE:20250602T100000,,20250603T080000z\nEXDATE;VALUE=DATE:20250604\n"
     "EXDATE;TZID=Tokyo Standard Time :20250605T170000\n",
     "20250602T000000Z", "20250606T000000Z", false},
    {"DTSTART;TZID=W. Europe Standard Time:20250601T100000\nRRULE:FREQ=DAILY\n", "20250602T080000Z",
     "20250602T080001Z", true},
    {"DTSTART;TZID=\"(UTC+01:00) Bern, Nowhere, Berlin\":20250601T100000\n", "20250601T080000Z",
     "20250601T080001Z", true},
    {"DTSTART;TZID=\"(GMT-05.00) Eastern Time (US & Canada)\":20250601T100000\n",
     "20250601T140000Z", "20250601T140001Z", true},
    {"DTSTART;TZID=\"(UTC+05:45) Somewhere\":20250601T100000\n", "20250601T041500Z",
     "20250601T041501Z", true},
    {"DTSTART;TZID=/mozilla.org/20070129_1/UTC:20250601T100000\n", "20250601T100000Z",
     "20250601T100001Z", true},
    // A rule of positions looks at whole periods, also where the start cuts the first.
    {"DTSTART:20000229T120000Z\nRRULE:FREQ=WEEKLY;BYDAY=FR,MO,SU;BYSETPOS=1\n", "20000301T000000Z",
     "20000306T000000Z", false},
    {"DTSTART:19040229T120000Z\nRRULE:FREQ=YEARLY\n", "21000101T000000Z", "21040228T000000Z",
     false},
    {"DTSTART:19040229T120000Z\nRRULE:FREQ=YEARLY\n", "21040229T120000Z", "21040229T120001Z", true},
    // Whole days and floating times, on the server's clock.
    {"DTSTART;VALUE=DATE:20250601\n", "20250602T035959Z", "20250603T000000Z", true},
    {"DTSTART;VALUE=DATE:20250601\n", "20250602T040000Z", "20250603T000000Z", false},
    {"DTSTART;VALUE=DATE:20250601\n", "20250501T000000Z", "20250601T040001Z", true},
    {"DTSTART;VALUE=DATE:20250601\n", "20250501T000000Z", "20250601T040000Z", false},
    {"DTSTART;VALUE=DATE:20250601\nDTEND;VALUE=DATE:20250604\n", "20250604T035959Z",
     "20250605T000000Z", true},
    {"DTSTART:20250601T100000\nDURATION:PT1H\n", "20250601T145959Z", "20250601T160000Z", true},
    {"DTSTART:20250601T100000\nDURATION:PT1H\n", "20250601T150000Z", "20250601T160000Z", false},
    // Zones: told in the item, by name, by a prefixed name, unknown.
    {"DTSTART;TZID=Home:20250601T100000\nDURATION:PT1H\n", "20250601T085959Z", "20250601T090000Z",
     true},
    {"DTSTART;TZID=Home:20250601T100000\nDURATION:PT1H\n", "20250601T090000Z", "20250601T120000Z",
     false},
    {"DTSTART;TZID=\"Home \":20250101T100000\nDURATION:PT1H\n", "20250101T095959Z",
     "20250101T120000Z", true},
    {"DTSTART;TZID=Europe/Berlin:20250601T100000\nDURATION:PT1H\n", "20250601T085959Z",
     "20250601T090000Z", true},
    {"DTSTART;TZID=/a.test/x/Europe/Berlin:20250101T100000\nDURATION:PT1H\n", "20250101T095959Z",
     "20250101T120000Z", true},
    {"DTSTART;TZID=/a.test/x/America/Argentina/Salta:20250101T100000\nDURATION:PT1H\n",
     "20250101T130000Z", "20250101T130001Z", true},
    {"DTSTART;TZID=No/Where:20250601T100000\nDURATION:PT1H\n", "20250601T145959Z",
     "20250601T160000Z", true},
    // The hours that are skipped and doubled.
    {"DTSTART;TZID=Home:20250330T023000\n", "20250330T013000Z", "20250330T013001Z", true},
    {"DTSTART;TZID=Europe/Berlin:20250330T023000\n", "20250330T013000Z", "20250330T013001Z", true},
    {"DTSTART;TZID=Home:20251026T023000\n", "20251026T003000Z", "20251026T003001Z", true},
    {"DTSTART;TZID=Europe/Berlin:20251026T023000\n", "20251026T003000Z", "20251026T003001Z", true},
    {"DTSTART;TZID=Home:20251026T030000\n", "20251026T020000Z", "20251026T020001Z", true},
    {"DTSTART;TZID=Home:20250329T100000\nRRULE:FREQ=DAILY\n", "20250330T080000Z",
     "20250330T080001Z", true},
    {"DTSTART;TZID=Home:20250329T100000\nRRULE:FREQ=DAILY\n", "20250330T090000Z",
     "20250330T090001Z", false},
    {"DTSTART;TZID=Home:20250329T100000\nDURATION:P1D\n", "20250330T075959Z", "20250330T080001Z",
     true},
    {"DTSTART;TZID=Home:20250329T100000\nDURATION:P1D\n", "20250330T080000Z", "20250330T090001Z",
     false},
    {"DTSTART;TZID=Europe/Berlin:20600705T100000\n", "20600705T080000Z", "20600705T080001Z", true},
    {"DTSTART;TZID=Home:20471215T100000\n", "20471215T090000Z", "20471215T090001Z", true},
    // Rules with their ends.
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=WEEKLY\n", "20450104T000000Z", "20450105T000000Z", true},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=WEEKLY\n", "20450105T000000Z", "20450107T000000Z",
     false},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY;COUNT=3\n", "20250103T000000Z", "20250104T000000Z",
     true},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY;COUNT=3\n", "20250104T000000Z", "20260104T000000Z",
     false},
    {"DTSTART;TZID=Home:20250601T100000\nRRULE:FREQ=DAILY;UNTIL=20250603T080000Z\n",
     "20250603T000000Z", "20250604T000000Z", true},
    {"DTSTART;TZID=Home:20250601T100000\nRRULE:FREQ=DAILY;UNTIL=20250603T075959Z\n",
     "20250603T000000Z", "20250604T000000Z", false},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;UNTIL=20250603\n", "20250603T120000Z",
     "20250603T130000Z", true},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;UNTIL=20250603\n", "20250604T120000Z",
     "20250614T130000Z", false},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;BYHOUR=7\n", "20250603T050000Z",
     "20250603T060000Z", true},
    {"DTSTART;VALUE=DATE:20250601\nRRULE:FREQ=DAILY;BYHOUR=7,8;COUNT=9\n", "20250609T120000Z",
     "20250609T130000Z", true},
    // Further dates and exceptions, also of another type than the start.
    {"DTSTART:20250101T100000Z\nRDATE:20250301T100000Z,20250401T100000Z\n", "20250401T000000Z",
     "20250402T000000Z", true},
    {"DTSTART:20250101T100000Z\nRDATE;VALUE=PERIOD:20250301T100000Z/PT5H\n", "20250301T143000Z",
     "20250302T000000Z", true},
    {"DTSTART:20250101T100000Z\nRDATE;VALUE=PERIOD:20250301T100000Z/20250301T120000Z\n",
     "20250301T123000Z", "20250302T000000Z", false},
    // Further dates on another clock: the same time on it is another, another time the same.
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T100000Z\n"
     "EXDATE;TZID=Home:20250601T100000\n",
     "20250601T100000Z", "20250601T100001Z", true},
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T080000Z\n"
     "EXDATE;TZID=Home:20250601T100000\n",
     "20250601T000000Z", "20250602T000000Z", false},
    {"DTSTART;TZID=Home:20250101T100000\nRDATE:20250601T100000\n", "20250601T080000Z",
     "20250601T080001Z", true},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY\nEXDATE:20250105T100000Z\n", "20250105T000000Z",
     "20250106T000000Z", false},
    {"DTSTART:20250101T100000Z\nRRULE:FREQ=DAILY\nEXDATE;VALUE=DATE:20250105\n", "20250105T000000Z",
     "20250106T000000Z", false},
    {"DTSTART;TZID=Home:20250101T100000\nRRULE:FREQ=DAILY\nEXDATE:20250105T090000Z\n",
     "20250105T000000Z", "20250106T000000Z", false},
    {"DTSTART;VALUE=DATE:20250101\nRRULE:FREQ=DAILY\nEXDATE:20250105T000000\n", "20250105T120000Z",
     "20250105T130000Z", false},
};

TEST_F(RecurrenceOccurrences, RangesMatchByTheTable) {
    for (const Case& each : kCases) {
        const CalendarObject event = parsed(kBerlin + vevent(each.lines));
        const TimeRange range{ms(each.from), ms(each.to)};
        StepBudget budget(kItemSteps);
        EXPECT_EQ(occursIn(event, range, budget), each.occurs) << each.lines << each.from;
        // The span decides first: it must never hide an event that occurs, and must be right alone
        // when it says that it is.
        const ItemSpan span = spanOf(event);
        const bool inSpan = span.firstStartMs < range.toMs && span.lastEndMs > range.fromMs;
        EXPECT_TRUE(inSpan || !each.occurs) << each.lines << each.from;
        if (span.exact) {
            EXPECT_EQ(inSpan, each.occurs) << each.lines << each.from;
        }
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
    const struct {
        const CalendarObject& event;
        const char* from;
        const char* to;
        bool occurs;
    } cases[] = {
        {moved, "20250609T000000Z", "20250610T000000Z", false},
        {moved, "20250712T000000Z", "20250713T000000Z", true},
        {moved, "20250616T000000Z", "20250617T000000Z", true},
        {shifted, "20250609T000000Z", "20250610T000000Z", true},
        {shifted, "20250616T000000Z", "20250617T000000Z", false},
        {shifted, "20250617T000000Z", "20250618T000000Z", true},
        {shifted, "20250623T000000Z", "20250624T000000Z", false},
        {shifted, "20250708T140000Z", "20250708T150000Z", true},
        {shifted, "20250709T000000Z", "20260708T150000Z", false},
        {later, "20250407T090000Z", "20250407T090001Z", true},
        {noClock, "20250405T090000Z", "20250405T090001Z", true},
        {twoOfOneUid, "20250703T100000Z", "20250703T100001Z", true},
        {twoOfOneUid, "20250704T100000Z", "20260704T100001Z", false},
        {alone, "20250609T000000Z", "20250610T000000Z", false},
        {alone, "20250612T000000Z", "20250613T000000Z", true},
    };
    for (const auto& each : cases) {
        StepBudget budget(kItemSteps);
        const TimeRange range{ms(each.from), ms(each.to)};
        EXPECT_EQ(occursIn(each.event, range, budget), each.occurs) << each.from;
        const ItemSpan span = spanOf(each.event);
        EXPECT_TRUE(!each.occurs ||
                    (span.firstStartMs < range.toMs && span.lastEndMs > range.fromMs));
        EXPECT_FALSE(span.exact);
    }
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
