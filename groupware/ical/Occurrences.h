// When an event takes place: its occurrences in a range, and the span of all of them.
//
// Reads RRULE, RDATE, EXDATE and changed instances; whole days and floating times are read on the
// server's clock. Bounded by a budget of steps; what cannot be told within it is said so.
#pragma once

#include <functional>

#include "groupware/ical/CalendarObject.h"

namespace groupware {

/// UTC milliseconds; the end does not belong to it. The extremes leave a side open.
struct TimeRange {
    int64_t fromMs = INT64_MIN;
    int64_t toMs = INT64_MAX;
};

/// The steps that one item may cost in a query.
inline constexpr int64_t kItemSteps = 100'000;

struct Occurrence {
    int64_t startMs = 0;
    int64_t endMs = 0;  ///< the start again when it lasts no time
    const CalendarComponent* component = nullptr;

    bool touches(TimeRange range) const;
};

/// Calls for each occurrence that touches the range, in no order, until the callee returns false.
/// False when some occurrences may not have been found.
bool eachOccurrence(const CalendarObject& event, TimeRange range, StepBudget& budget,
                    const std::function<bool(const Occurrence&)>& each);

/// Whether an occurrence touches the range; when that cannot be told, whether one might.
bool occursIn(const CalendarObject& event, TimeRange range, StepBudget& budget);

/// The time outside of which the event has no occurrence.
ItemSpan spanOf(const CalendarObject& event);

}  // namespace groupware
