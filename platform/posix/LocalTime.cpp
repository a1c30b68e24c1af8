#include "platform/LocalTime.h"

#include <algorithm>
#include <utility>

#include <time.h>

namespace platform {
namespace {

constexpr int64_t kMsPerSecond = 1000;
constexpr int64_t kMsPerDay = 86'400'000;
// Days from 0000-03-01 to 1970-01-01, and in a round of 400 years.
constexpr int64_t kDaysToEpoch = 719'468;
constexpr int64_t kDaysPerRound = 146'097;

constexpr int64_t floorDivide(int64_t value, int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

// Years are counted from March, so that the leap day is their last and the months before it are
// always of the same lengths: (153 * month + 2) / 5 days stand before month 0 (March) to 11.

constexpr int64_t daysFromDate(int64_t year, int64_t month, int64_t day) {
    const int64_t months = year * 12 + month - 3;
    const int64_t marchYear = floorDivide(months, 12);
    const int64_t marchMonth = months - marchYear * 12;
    const int64_t leapDays =
        floorDivide(marchYear, 4) - floorDivide(marchYear, 100) + floorDivide(marchYear, 400);
    return marchYear * 365 + leapDays + (153 * marchMonth + 2) / 5 + day - 1 - kDaysToEpoch;
}

void setDate(DateTime& time, int64_t days) {
    const int64_t shifted = days + kDaysToEpoch;
    const int64_t round = floorDivide(shifted, kDaysPerRound);
    const int64_t dayOfRound = shifted - round * kDaysPerRound;
    const int64_t yearOfRound =
        (dayOfRound - dayOfRound / 1460 + dayOfRound / 36524 - dayOfRound / 146096) / 365;
    const int64_t dayOfYear =
        dayOfRound - (365 * yearOfRound + yearOfRound / 4 - yearOfRound / 100);
    const int64_t marchMonth = (5 * dayOfYear + 2) / 153;
    const int64_t month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    time.year = static_cast<uint16_t>(round * 400 + yearOfRound + (month <= 2 ? 1 : 0));
    time.month = static_cast<uint16_t>(month);
    time.day = static_cast<uint16_t>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
    const int64_t weekDay = (days + 4) % 7;  // the epoch was a Thursday
    time.dayOfWeek = static_cast<uint16_t>(weekDay < 0 ? weekDay + 7 : weekDay);
}

constexpr int64_t kFirstMs = daysFromDate(0, 1, 1) * kMsPerDay;
constexpr int64_t kLastMs = daysFromDate(65536, 1, 1) * kMsPerDay - 1;

/// How far local time is ahead of UTC at an instant.
int64_t offsetMs(int64_t utcMs) {
    const time_t seconds =
        static_cast<time_t>(floorDivide(std::clamp(utcMs, kFirstMs, kLastMs), kMsPerSecond));
    tm local{};
    if (::localtime_r(&seconds, &local) == nullptr) return 0;
    return static_cast<int64_t>(local.tm_gmtoff) * kMsPerSecond;
}

/// The first and the last instant at which the clocks show a local time.
std::pair<int64_t, int64_t> instantsOf(const DateTime& local) {
    const int64_t wall = msFromUtc(local);
    // No zone is a day away from UTC, so these are the rules before and after that hour.
    const int64_t before = offsetMs(wall - kMsPerDay);
    const int64_t after = offsetMs(wall + kMsPerDay);
    const int64_t byFormer = wall - before;
    const int64_t byLatter = wall - after;
    const bool formerHolds = offsetMs(byFormer) == before;
    const bool latterHolds = offsetMs(byLatter) == after;
    if (formerHolds && latterHolds) return std::minmax({byFormer, byLatter});
    // Skipped by the clocks: the rule before the gap carries it behind the gap.
    const int64_t only = latterHolds ? byLatter : byFormer;
    return {only, only};
}

}  // namespace

int64_t nowUtcMs() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * kMsPerSecond + now.tv_nsec / 1'000'000;
}

DateTime utcFromMs(int64_t utcMs) {
    const int64_t ms = std::clamp(utcMs, kFirstMs, kLastMs);
    const int64_t days = floorDivide(ms, kMsPerDay);
    const int64_t ofDay = ms - days * kMsPerDay;
    DateTime time;
    setDate(time, days);
    time.hour = static_cast<uint16_t>(ofDay / 3'600'000);
    time.minute = static_cast<uint16_t>(ofDay / 60'000 % 60);
    time.second = static_cast<uint16_t>(ofDay / kMsPerSecond % 60);
    time.milliseconds = static_cast<uint16_t>(ofDay % kMsPerSecond);
    return time;
}

DateTime localFromMs(int64_t utcMs) {
    const int64_t ms = std::clamp(utcMs, kFirstMs, kLastMs);
    return utcFromMs(ms + offsetMs(ms));
}

int64_t msFromUtc(const DateTime& utc) {
    const int64_t minutes = int64_t{utc.hour} * 60 + utc.minute;
    return daysFromDate(utc.year, utc.month, utc.day) * kMsPerDay +
           (minutes * 60 + utc.second) * kMsPerSecond + utc.milliseconds;
}

int64_t msFromLocal(const DateTime& local) {
    return instantsOf(local).first;
}

int64_t lastMsFromLocal(const DateTime& local) {
    return instantsOf(local).second;
}

DateTime utcToLocal(const DateTime& utc) {
    return utc == DateTime{} ? utc : localFromMs(msFromUtc(utc));
}

}  // namespace platform
