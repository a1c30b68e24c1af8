// The occurrences of one recurring event around the times that were asked for, so that a query
// expands no rule twice.
//
// A few windows are kept, each with all occurrences in it. Safe from every thread, reading never
// waits.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "groupware/ical/Occurrences.h"
#include "groupware/items/Remembered.h"

namespace groupware {

class OccurrenceMemory {
  public:
    struct Answer {
        bool known = false;
        bool occurs = false;    ///< in the range
        bool hopeless = false;  ///< it was tried, and took too many steps or occurrences
    };
    /// Whether an occurrence touches the range, as far as that is known.
    Answer ask(TimeRange range) const;

    /// Finds out and keeps the occurrences around a range that the event's span touches; the bytes
    /// that it takes to keep them, 0 when there is no room for another window.
    size_t learn(const CalendarObject& event, const ItemSpan& span, TimeRange range,
                 StepBudget& budget) const;

  private:
    struct Time {
        int64_t startMs;
        int64_t endMs;
    };
    struct Window {
        TimeRange range;
        bool complete = true;     ///< all occurrences that touch the range are there
        std::vector<Time> times;  ///< by their starts
        int64_t longest = 0;
        Remembered<Window> next;

        bool touches(TimeRange wanted) const;
    };

    static TimeRange rangeAround(TimeRange range, const ItemSpan& span);

    Remembered<Window> first_;
};

}  // namespace groupware
