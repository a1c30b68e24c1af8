#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libical/ical.h>

#include "groupware/ical/RecurrenceRule.h"

namespace groupware {
namespace {

constexpr size_t kCompared = 60;

std::string textOf(WallSeconds wall) {
    const auto t = dateTimeFromWall(wall);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04u%02u%02uT%02u%02u%02u", unsigned{t.year},
                  unsigned{t.month}, unsigned{t.day}, unsigned{t.hour}, unsigned{t.minute},
                  unsigned{t.second});
    return text.data();
}

/// The times from one on; the walk begins near that one, or at the start of the rule.
std::vector<std::string> ours(const char* start, const char* text, const char* from, size_t most,
                              bool near) {
    const auto rule = RecurrenceRule::parse(text);
    if (!rule) return {"unreadable"};
    StepBudget budget(50'000'000);
    RuleWalk walk(*rule, parseIcalTime(start, {})->wall, near ? parseIcalTime(from, {})->wall : 0,
                  INT64_MAX, budget);
    std::vector<std::string> times;
    while (times.size() < most) {
        const auto wall = walk.next();
        if (!wall || (rule->until && *wall > rule->until->wall)) break;
        if (textOf(*wall) >= from) times.push_back(textOf(*wall));
    }
    return times;
}

std::vector<std::string> theirs(const char* start, const char* text) {
    icalrecur_iterator* iterator =
        icalrecur_iterator_new(icalrecurrencetype_from_string(text), icaltime_from_string(start));
    std::vector<std::string> times;
    while (iterator != nullptr && times.size() < kCompared) {
        const icaltimetype time = icalrecur_iterator_next(iterator);
        if (icaltime_is_null_time(time)) break;
        times.emplace_back(icaltime_as_ical_string(time));
    }
    icalrecur_iterator_free(iterator);
    return times;
}

// Rules whose start is one of their times, so that both expansions count alike.
struct Case {
    const char* start;
    const char* rule;
};

constexpr Case kRules[] = {
    {"20250106T090000", "FREQ=DAILY"},
    {"20250106T090000", "FREQ=DAILY;INTERVAL=10;COUNT=5"},
    {"20250106T090000", "FREQ=DAILY;UNTIL=20250301T090000"},
    {"20250101T090000", "FREQ=DAILY;BYMONTH=1;BYHOUR=9,17;BYMINUTE=0,30"},
    {"20250106T090000", "FREQ=WEEKLY;BYDAY=MO,WE,FR"},
    {"20250107T090000", "FREQ=WEEKLY;INTERVAL=2;WKST=SU;BYDAY=TU,SU"},
    {"20250107T090000", "FREQ=WEEKLY;INTERVAL=2;WKST=MO;BYDAY=TU,SU"},
    {"20250106T090000", "FREQ=WEEKLY;INTERVAL=3"},
    {"20250131T090000", "FREQ=MONTHLY"},
    {"20250131T090000", "FREQ=MONTHLY;BYMONTHDAY=-1"},
    {"20250103T090000", "FREQ=MONTHLY;BYDAY=1FR"},
    {"20250126T090000", "FREQ=MONTHLY;INTERVAL=2;BYDAY=-1SU"},
    {"20250115T090000", "FREQ=MONTHLY;BYMONTHDAY=15,30;BYMONTH=1,2,6"},
    {"20250131T090000", "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1"},
    {"20250613T090000", "FREQ=MONTHLY;BYDAY=FR;BYMONTHDAY=13"},
    {"20240229T090000", "FREQ=YEARLY;COUNT=12"},
    {"20250106T090000", "FREQ=YEARLY;BYMONTH=1,7;BYDAY=MO"},
    {"20250330T020000", "FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU"},
    {"20250106T090000", "FREQ=YEARLY;BYDAY=1MO"},
    {"20250410T090000", "FREQ=YEARLY;BYYEARDAY=100,200,-1"},
    {"20250512T090000", "FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO"},
    {"20250325T090000", "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=25"},
    {"20250106T090000", "FREQ=HOURLY;INTERVAL=3"},
    {"20250106T090000", "FREQ=HOURLY;BYHOUR=9,10;BYMINUTE=0,20"},
    {"20250106T090000", "FREQ=MINUTELY;INTERVAL=90;COUNT=40"},
    {"20250106T090000", "FREQ=SECONDLY;INTERVAL=45"},
};

TEST(RecurrenceRule, ExpandsAsTheReferenceDoes) {
    for (const Case& each : kRules) {
        EXPECT_EQ(ours(each.start, each.rule, "00010101T000000", kCompared, true),
                  theirs(each.start, each.rule))
            << each.rule;
    }
}

TEST(RecurrenceRule, StartingNearTheRangeGivesTheSameTimes) {
    for (const Case& each : kRules) {
        for (const char* from : {"20250301T120000", "20260101T000000", "20380704T103000"}) {
            const auto frequency = RecurrenceRule::parse(each.rule)->frequency;
            if (frequency < RecurrenceRule::Frequency::kHourly) continue;
            EXPECT_EQ(ours(each.start, each.rule, from, 5, true),
                      ours(each.start, each.rule, from, 5, false))
                << each.rule << " from " << from;
        }
    }
}

TEST(RecurrenceRule, HostileRulesEndWithTheBudget) {
    for (const char* text :
         {"FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30", "FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30",
          "FREQ=YEARLY;BYWEEKNO=53;BYMONTH=6", "FREQ=MONTHLY;BYDAY=MO;BYSETPOS=300",
          "FREQ=YEARLY;BYYEARDAY=366;BYMONTH=3", "FREQ=SECONDLY;INTERVAL=2;BYSECOND=1",
          "FREQ=DAILY;INTERVAL=2147483647"}) {
        const auto rule = RecurrenceRule::parse(text);
        ASSERT_TRUE(rule) << text;
        StepBudget budget(20'000);
        RuleWalk walk(*rule, parseIcalTime("20250106T090000", {})->wall, 0, INT64_MAX, budget);
        walk.next();
        EXPECT_FALSE(walk.next()) << text;
    }
    // The steps also bound how much one period holds.
    std::string all = "FREQ=YEARLY;BYMONTH=1,2,3;BYMONTHDAY=1,2,3,4,5;BYHOUR=1,2,3";
    for (const char* name : {";BYMINUTE=0", ";BYSECOND=0"}) {
        all += name;
        for (int i = 1; i < 60; ++i) all += "," + std::to_string(i);
    }
    StepBudget budget(20'000);
    RuleWalk walk(*RecurrenceRule::parse(all), parseIcalTime("20250106T090000", {})->wall, 0,
                  INT64_MAX, budget);
    walk.next();
    EXPECT_FALSE(walk.next());
    EXPECT_TRUE(budget.spent());
}

TEST(RecurrenceRule, ReadsWhatClientsWriteAndNothingElse) {
    for (const char* text : {"FREQ=DAILY;", "freq=weekly;byday=mo , tu", "FREQ=DAILY;X-FOO=1",
                             "FREQ=WEEKLY;WKST=XX", "RSCALE=GREGORIAN;FREQ=YEARLY"}) {
        EXPECT_TRUE(RecurrenceRule::parse(text)) << text;
    }
    for (const char* text :
         {"", "DAILY", "FREQ=SOMETIMES", "FREQ=DAILY;INTERVAL=0", "FREQ=DAILY;COUNT=-1",
          "FREQ=DAILY;UNTIL=never", "FREQ=MONTHLY;BYMONTHDAY=0",
          "FREQ=MONTHLY;BYMONTHDAY=-2147483648", "FREQ=MONTHLY;BYDAY=54MO",
          "FREQ=YEARLY;BYMONTH=13", "RSCALE=HEBREW;FREQ=YEARLY", "FREQ=DAILY;COUNT=99999999999999",
          "FREQ=YEARLY;BYEASTER=0"}) {
        EXPECT_FALSE(RecurrenceRule::parse(text)) << text;
    }
}

}  // namespace
}  // namespace groupware
