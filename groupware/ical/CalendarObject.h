// What the store needs to know of one iCalendar item: its components with their times and people.
//
// Parsed from the client's text, which stays the truth; nothing is ever written from this. Odd
// properties are passed over, only an item that cannot be filed or placed in time is refused.
// Immutable after parsing, so any number of threads may read it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/db/Database.h"
#include "groupware/ical/IcalTime.h"
#include "groupware/ical/RecurrenceRule.h"
#include "groupware/ical/TimeZone.h"

namespace groupware {

struct CalendarUser {
    std::string address;      ///< without "mailto:"
    uint16_t status = 0;      ///< STORE_PARTSTAT_...
    bool serverSends = true;  ///< the client leaves scheduling to the server, as is the default
};

struct IcalPeriod {
    IcalTime start;
    std::optional<IcalTime> end;
    std::optional<IcalDuration> duration;
};

/// One VEVENT or VTODO.
struct CalendarComponent {
    std::string uid;
    std::optional<IcalTime> start;
    std::optional<IcalTime> end;  ///< DTEND or DUE
    std::optional<IcalDuration> duration;
    std::optional<IcalTime> recurrenceId;
    bool thisAndFuture = false;
    std::vector<RecurrenceRule> rules;
    std::vector<RecurrenceRule> exclusions;  ///< EXRULE
    bool unreadableRule = false;
    std::vector<IcalPeriod> dates;
    std::vector<IcalTime> exceptions;
    std::string status;  ///< in capitals
    bool transparent = false;
    std::optional<CalendarUser> organizer;
    std::vector<CalendarUser> attendees;
};

/// The clock that a time stands on.
class WallClock {
  public:
    WallClock() = default;
    explicit WallClock(std::shared_ptr<const TimeZone> zone) : zone_(std::move(zone)) {}

    int64_t utcSeconds(WallSeconds wall, StepBudget& budget) const;
    /// What the clock shows; just after it is set forward, maybe what it would have shown.
    WallSeconds wallSeconds(int64_t utc, StepBudget& budget) const;
    /// False for the server's own clock, on which floating times and whole days are read.
    bool isFixed() const { return zone_ != nullptr; }

  private:
    std::shared_ptr<const TimeZone> zone_;
};

class CalendarObject {
  public:
    /// The event or task of a text; nothing, and why, when it holds none or more than one.
    static std::optional<CalendarObject> parse(ItemKind kind, std::string_view text,
                                               std::string& problem);

    const std::string& uid() const { return components_.front().uid; }
    const std::vector<CalendarComponent>& components() const { return components_; }
    /// The component that is no changed instance of another; null when there are only such.
    const CalendarComponent* master() const;
    /// The server's own for a zone that is not known, or is not looked for any more.
    WallClock clockOf(const IcalTime& time, StepBudget& budget) const;

  private:
    std::vector<CalendarComponent> components_;
    /// Those that the text tells; null for one that it only names.
    std::map<std::string, std::shared_ptr<const TimeZone>, std::less<>> zones_;
};

/// "VEVENT" or "VTODO"; empty for contacts.
std::string_view componentName(ItemKind kind);

/// An item may be filed under it: not too long, no control characters.
bool isGoodUid(std::string_view uid);

/// The address in an ORGANIZER or ATTENDEE line.
std::string_view addressOf(const struct ContentLine& line);

}  // namespace groupware
