// One time zone: from the time on a wall to UTC, by the observances that a VTIMEZONE tells.
//
// Immutable once built, so any number of threads may ask. A zone without observances is UTC.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "groupware/ical/IcalTime.h"
#include "groupware/ical/RecurrenceRule.h"

namespace groupware {

/// A STANDARD or DAYLIGHT part of a time zone.
struct ZoneObservance {
    WallSeconds start = 0;   ///< on a wall that still shows offsetFrom
    int64_t offsetFrom = 0;  ///< seconds east of Greenwich
    int64_t offsetTo = 0;
    std::vector<WallSeconds> dates;  ///< further onsets
    std::optional<RecurrenceRule> rule;
};

class TimeZone {
  public:
    explicit TimeZone(std::vector<ZoneObservance> observances = {});

    /// A time that occurs twice is taken as its first, one that is skipped by the offset before.
    /// With the budget spent the answer is only near.
    int64_t utcSeconds(WallSeconds wall, StepBudget& budget) const;

  private:
    struct Onset {
        WallSeconds at = INT64_MIN;
        int64_t offsetFrom = 0;
        int64_t offsetTo = 0;
    };
    static Onset lastOnset(const ZoneObservance& observance, WallSeconds wall, WallSeconds known,
                           StepBudget& budget);

    std::vector<ZoneObservance> observances_;  ///< the latest start first
};

/// Reads an offset such as +0200 or -033045.
std::optional<int64_t> parseZoneOffset(std::string_view value);

/// The zone of a tzdata name, also behind a prefix as in /example.org/Europe/Berlin, or of a name
/// that Windows has or shows for it; null when there is none of that name, or when the steps do not
/// suffice to look for it.
std::shared_ptr<const TimeZone> zoneByName(std::string_view name, StepBudget& budget);

/// UTC of a time on the server's own wall.
int64_t utcSecondsOfServerWall(WallSeconds wall);

}  // namespace groupware
