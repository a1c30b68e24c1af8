// Times, durations and periods as iCalendar values tell them.
//
// A wall time is what a clock on some wall shows, in seconds since 1970-01-01T00:00:00 on that same
// clock. Which clock it is, its kind and zone tell; ical/TimeZones.h turns it into UTC.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/LocalTime.h"

namespace groupware {

using WallSeconds = int64_t;

inline constexpr int64_t kSecondsPerDay = 86400;

struct IcalTime {
    enum class Kind : uint8_t { kDate, kFloating, kUtc, kZoned };

    WallSeconds wall = 0;
    Kind kind = Kind::kFloating;
    std::string zone;  ///< the TZID, when zoned

    bool isDate() const { return kind == Kind::kDate; }
};

/// Days since 1970-01-01 of a wall time, rounded down.
int64_t dayOf(WallSeconds wall);

/// A DATE or DATE-TIME value; nothing when it is none or names no real day.
std::optional<IcalTime> parseIcalTime(std::string_view value, std::string_view tzid);

/// Days count on the wall, seconds on the world's clock.
struct IcalDuration {
    int64_t days = 0;
    int64_t seconds = 0;
};

std::optional<IcalDuration> parseIcalDuration(std::string_view value);

/// UTC milliseconds as a value: 20250601T100000Z.
std::string utcText(int64_t ms);

platform::DateTime dateTimeFromWall(WallSeconds wall);

}  // namespace groupware
