// Calendar times in the system-time layout, and the machine's time-zone rules.
#pragma once

#include <cstdint>

namespace platform {

/// A broken-down time; which zone it stands in, its user knows. All zero: not given.
struct DateTime {
    uint16_t year = 0;
    uint16_t month = 0;      ///< 1 to 12
    uint16_t dayOfWeek = 0;  ///< 0 is Sunday
    uint16_t day = 0;
    uint16_t hour = 0;
    uint16_t minute = 0;
    uint16_t second = 0;
    uint16_t milliseconds = 0;

    friend bool operator==(const DateTime&, const DateTime&) = default;
};

/// Milliseconds since 1970-01-01T00:00:00Z by the system's clock.
int64_t nowUtcMs();

/// Years 0 to 65535; what lies beyond becomes the first or the last time of these.
DateTime utcFromMs(int64_t utcMs);
DateTime localFromMs(int64_t utcMs);
/// The reverse; fields out of range are carried over, so any field values give some time.
int64_t msFromUtc(const DateTime& utc);
/// A local time that occurs twice is taken as its first; one that the clocks skip is as far behind
/// the gap as it stands in it, so 02:30 is 03:30 when they go from 02:00 to 03:00.
int64_t msFromLocal(const DateTime& local);
/// The same, but a local time that occurs twice is taken as its last.
int64_t lastMsFromLocal(const DateTime& local);

/// Converts by the machine's rules, daylight saving included; a time that is all zero stays so.
DateTime utcToLocal(const DateTime& utc);

}  // namespace platform
