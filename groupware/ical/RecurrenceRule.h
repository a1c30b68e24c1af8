// A recurrence rule and the walk over the times it names, bounded whatever the rule says.
//
// The expansion is our own: a library's iterator may spend seconds in one call on a rule that never
// matches. Here every look at a day or a time costs a step, and a walk whose steps are used up says
// so; then its user must assume the best. Wall times only; zones are the user's business.
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "groupware/ical/IcalTime.h"

namespace groupware {

struct RecurrenceRule {
    enum class Frequency { kSecondly, kMinutely, kHourly, kDaily, kWeekly, kMonthly, kYearly };
    struct Weekday {
        int day = 0;      ///< 0 is Sunday
        int ordinal = 0;  ///< 2 is the second of the month or year, -1 the last, 0 every one
    };

    Frequency frequency = Frequency::kYearly;
    int64_t interval = 1;
    int64_t count = 0;  ///< 0: not limited so
    std::optional<IcalTime> until;
    int weekStart = 1;
    std::vector<int> seconds, minutes, hours, monthDays, yearDays, weeks, months, positions;
    std::vector<Weekday> weekdays;

    /// Nothing when the text is no rule, or one of another calendar's months.
    static std::optional<RecurrenceRule> parse(std::string_view text);

    /// True when every period holds exactly one time, its distance from the start being fixed.
    bool isPlainStep() const;
};

/// Steps that the expansion of one item may take.
class StepBudget {
  public:
    explicit StepBudget(int64_t steps) : left_(steps) {}
    /// False when the steps are used up.
    bool take(int64_t steps = 1) { return (left_ -= steps) >= 0; }
    bool spent() const { return left_ < 0; }
    int64_t left() const { return left_ < 0 ? 0 : left_; }

  private:
    int64_t left_;
};

/// The rule's times in rising order.
class RuleWalk {
  public:
    /// Whether the start is the first time in any case, or only when the rule names it.
    enum class Start : uint8_t { kCounts, kMustMatch };

    /// Times outside of the range may be left out.
    RuleWalk(const RecurrenceRule& rule, WallSeconds start, WallSeconds from, WallSeconds to,
             StepBudget& budget, Start first = Start::kCounts);

    /// Nothing when the rule or the range ends or the budget is spent. The end by UNTIL is left to
    /// the user.
    std::optional<WallSeconds> next();

  private:
    bool fillPeriod();
    bool fillYear(int64_t units);
    bool fillMonth(int64_t units);
    bool fillDays(int64_t firstDay, int64_t count);
    bool fillFinePeriod(WallSeconds begin);
    void skipTo(WallSeconds from);
    int64_t periodAt(WallSeconds wall) const;
    void collectDays(int64_t firstDay, int64_t lastDay);
    void choosePositions();
    bool dayMatches(int64_t day) const;
    bool weekdayMatches(int64_t day) const;
    void deriveFromStart();

    RecurrenceRule rule_;  ///< with what the start adds to it
    WallSeconds start_;
    WallSeconds to_;
    StepBudget& budget_;
    std::bitset<7> weekdays_;  ///< that the rule names
    int64_t dayCost_ = 1;      ///< steps that a look at a day takes
    int64_t period_ = 0;
    int64_t remaining_ = 0;
    bool limited_ = false;
    bool startGiven_;
    WallSeconds earliest_;  ///< that a period may give
    std::vector<int64_t> days_;
    std::vector<WallSeconds> times_;  ///< of the current period
    size_t nextTime_ = 0;
};

}  // namespace groupware
