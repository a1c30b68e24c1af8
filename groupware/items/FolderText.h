// Puts the texts of a folder's items together to one.
//
// Items share a VCALENDAR and its time zones as long as these say the same of their times. An item
// whose zones are defined otherwise stands in a further VCALENDAR, so that nothing moves when the
// text is read again.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "groupware/db/Database.h"
#include "groupware/ical/RecurrenceRule.h"

namespace groupware {

class FolderText {
  public:
    explicit FolderText(ItemKind kind) : kind_(kind) {}

    /// Adds the item's components, or its vCard, and those of its time zones not added before.
    void add(std::string_view text);
    std::string whole() const;

  private:
    /// Definitions by their TZID.
    using Zones = std::map<std::string, std::string, std::less<>>;

    struct Calendar {
        Zones zones;
        std::set<std::string, std::less<>> bare;  ///< TZIDs that are named and not defined
        std::string components;
    };

    Calendar& calendarFor(const Calendar& item);
    bool fits(const Calendar& item, const Calendar& calendar);
    static std::string textOf(const Calendar& calendar);

    /// A folder of people's zones takes a part of them.
    static constexpr int64_t kCompareSteps = 100'000'000;

    ItemKind kind_;
    StepBudget comparing_{kCompareSteps};  ///< for all items together
    std::vector<Calendar> calendars_{1};
};

}  // namespace groupware
