#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <time.h>

#include "platform/LocalTime.h"

using namespace platform;

namespace {

/// The zone of the machine, as this test wants it to be.
class Zone {
  public:
    explicit Zone(const char* rule) {
        ::setenv("TZ", rule, 1);
        ::tzset();
    }
    ~Zone() {
        ::unsetenv("TZ");
        ::tzset();
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;
};

constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";

DateTime at(int year, int month, int day, int hour = 0, int minute = 0) {
    const auto u = [](int value) { return static_cast<uint16_t>(value); };
    return {u(year), u(month), 0, u(day), u(hour), u(minute), 0, 0};
}

DateTime withoutWeekDay(DateTime time) {
    time.dayOfWeek = 0;
    return time;
}

TEST(LocalTime, CountsUtc) {
    const std::pair<DateTime, int64_t> cases[] = {
        {{1970, 1, 4, 1, 0, 0, 0, 0}, 0},
        {{1969, 12, 3, 31, 23, 59, 59, 999}, -1},
        {{2017, 5, 5, 19, 14, 3, 7, 250}, 1495202587250},
        {{2000, 2, 2, 29, 12, 0, 0, 0}, 951825600000},
        {{1601, 1, 1, 1, 0, 0, 0, 0}, -11644473600000},
        {{1900, 3, 4, 1, 0, 0, 0, 0}, -2203891200000},
        {{9999, 12, 5, 31, 23, 59, 59, 999}, 253402300799999},
    };
    for (const auto& [time, ms] : cases) {
        EXPECT_EQ(msFromUtc(time), ms);
        EXPECT_EQ(utcFromMs(ms), time) << ms;
    }
}

TEST(LocalTime, EveryDayFollowsTheOneBefore) {
    constexpr int64_t kDay = 86'400'000;
    const int64_t last = msFromUtc(at(9999, 12, 31));
    DateTime before = utcFromMs(msFromUtc(at(1601, 1, 1)));
    for (int64_t ms = msFromUtc(before) + kDay; ms <= last; ms += kDay) {
        const DateTime now = utcFromMs(ms);
        ASSERT_EQ(msFromUtc(now), ms);
        ASSERT_EQ(now.dayOfWeek, (before.dayOfWeek + 1) % 7);
        if (now.day != 1) {
            ASSERT_EQ(now.day, before.day + 1);
        }
        before = now;
    }
}

TEST(LocalTime, OddFieldsAreCarriedOver) {
    EXPECT_EQ(msFromUtc(at(2023, 13, 1)), msFromUtc(at(2024, 1, 1)));
    EXPECT_EQ(msFromUtc(at(2024, 0, 1)), msFromUtc(at(2023, 12, 1)));
    EXPECT_EQ(msFromUtc(at(2023, 2, 29)), msFromUtc(at(2023, 3, 1)));
    EXPECT_EQ(msFromUtc(at(2023, 3, 0)), msFromUtc(at(2023, 2, 28)));
    EXPECT_EQ(msFromUtc(at(2023, 1, 1, 25, 61)), msFromUtc(at(2023, 1, 2, 2, 1)));
    constexpr uint16_t kMost = 0xFFFF;
    const DateTime most{kMost, kMost, kMost, kMost, kMost, kMost, kMost, kMost};
    EXPECT_EQ(utcFromMs(msFromUtc(most)).year, kMost);
    EXPECT_EQ(utcFromMs(msFromUtc(DateTime{})), (DateTime{0, 1, 6, 1, 0, 0, 0, 0}));
    for (const int64_t ms :
         {std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max()}) {
        EXPECT_EQ(utcFromMs(msFromUtc(utcFromMs(ms))), utcFromMs(ms));
        EXPECT_GE(localFromMs(ms).month, 1);
    }
    EXPECT_GT(msFromLocal(most), msFromLocal(at(9999, 12, 31)));
}

TEST(LocalTime, FollowsTheRulesOfTheMachine) {
    const Zone zone(kBerlin);
    const struct {
        DateTime local;
        DateTime utc;
        DateTime back;  // what the instant is in local time
    } cases[] = {
        {at(2024, 1, 15, 12), at(2024, 1, 15, 11), at(2024, 1, 15, 12)},
        {at(2024, 7, 15, 12), at(2024, 7, 15, 10), at(2024, 7, 15, 12)},
        {at(2024, 3, 31, 1, 59), at(2024, 3, 31, 0, 59), at(2024, 3, 31, 1, 59)},
        {at(2024, 3, 31, 2, 0), at(2024, 3, 31, 1, 0), at(2024, 3, 31, 3, 0)},     // skipped
        {at(2024, 3, 31, 2, 30), at(2024, 3, 31, 1, 30), at(2024, 3, 31, 3, 30)},  // skipped
        {at(2024, 3, 31, 3, 0), at(2024, 3, 31, 1, 0), at(2024, 3, 31, 3, 0)},
        {at(2024, 10, 27, 1, 59), at(2024, 10, 26, 23, 59), at(2024, 10, 27, 1, 59)},
        {at(2024, 10, 27, 2, 30), at(2024, 10, 27, 0, 30), at(2024, 10, 27, 2, 30)},  // twice
        {at(2024, 10, 27, 3, 0), at(2024, 10, 27, 2, 0), at(2024, 10, 27, 3, 0)},
        {at(9999, 7, 1, 0, 0), at(9999, 6, 30, 22, 0), at(9999, 7, 1, 0, 0)},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(withoutWeekDay(utcFromMs(msFromLocal(c.local))), c.utc) << c.local.hour;
        EXPECT_EQ(withoutWeekDay(utcToLocal(c.utc)), c.back) << c.utc.hour;
        const int64_t later = lastMsFromLocal(c.local) - msFromLocal(c.local);
        EXPECT_EQ(later, c.local == at(2024, 10, 27, 2, 30) ? 3'600'000 : 0) << c.local.hour;
    }
    // The second of the two hours is half past one in UTC, and half past two once more here.
    EXPECT_EQ(withoutWeekDay(utcToLocal(at(2024, 10, 27, 1, 30))), at(2024, 10, 27, 2, 30));
    EXPECT_EQ(utcToLocal(DateTime{}), DateTime{});
    EXPECT_EQ(localFromMs(1704063600999), (DateTime{2024, 1, 1, 1, 0, 0, 0, 999}));
}

TEST(LocalTime, GoesThereAndBackAtEveryHour) {
    for (const char* rule : {kBerlin, "EST5EDT,M3.2.0,M11.1.0", "XST-14", "YST12",
                             "LHST-10:30LHDT-11,M10.1.0,M4.1.0", "UTC0"}) {
        const Zone zone(rule);
        int64_t later = 0;
        const int64_t end = msFromUtc(at(2025, 1, 1));
        for (int64_t ms = msFromUtc(at(2024, 1, 1)); ms < end; ms += 1'800'000) {
            // Only the second of two equal times does not come back, it becomes the first.
            const int64_t back = msFromLocal(localFromMs(ms));
            ASSERT_LE(back, ms) << rule;
            ASSERT_EQ(localFromMs(back), localFromMs(ms)) << rule;
            later += back == ms ? 0 : 1;
        }
        EXPECT_LE(later, 2) << rule;
    }
}

TEST(LocalTime, ADayThatAZoneLeftOut) {
    const Zone zone("Pacific/Apia");
    if (utcToLocal(at(2024, 1, 1)).hour == 0) GTEST_SKIP() << "no zone data on this machine";
    EXPECT_EQ(msFromLocal(at(2011, 12, 29, 23)), msFromUtc(at(2011, 12, 30, 9)));
    EXPECT_EQ(msFromLocal(at(2011, 12, 31, 1)), msFromUtc(at(2011, 12, 30, 11)));
    EXPECT_EQ(withoutWeekDay(localFromMs(msFromLocal(at(2011, 12, 30, 12)))), at(2011, 12, 31, 12));
}

}  // namespace
