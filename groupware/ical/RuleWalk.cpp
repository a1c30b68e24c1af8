#include <algorithm>
#include <chrono>

#include "groupware/ical/RecurrenceRule.h"

namespace groupware {

namespace {

using Frequency = RecurrenceRule::Frequency;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr WallSeconds kLastWall = 253'402'300'799;  // 9999-12-31T23:59:59

int64_t floorDivide(int64_t a, int64_t b) {
    return a / b - (a % b != 0 && (a < 0) != (b < 0));
}

year_month_day dateOf(int64_t day) {
    return year_month_day{sys_days{std::chrono::days{static_cast<int>(day)}}};
}

int64_t dayNumber(int y, unsigned month, unsigned day) {
    return sys_days{year{y} / static_cast<int>(month) / static_cast<int>(day)}
        .time_since_epoch()
        .count();
}

int64_t yearOf(int64_t day) {
    return static_cast<int>(dateOf(day).year());
}

/// Months since the year 0.
int64_t monthOf(int64_t day) {
    return yearOf(day) * 12 + static_cast<unsigned>(dateOf(day).month()) - 1;
}

int64_t firstOfNextMonth(int y, unsigned month) {
    return month == 12 ? dayNumber(y + 1, 1, 1) : dayNumber(y, month + 1, 1);
}

int weekdayOf(int64_t day) {
    return static_cast<int>(day + 4 - floorDivide(day + 4, 7) * 7);
}

int64_t weekBegin(int64_t day, int weekStart) {
    return day - (weekdayOf(day) - weekStart + 7) % 7;
}

/// The first day of the first week that lies in the year for the most part.
int64_t firstWeek(int y, int weekStart) {
    return weekBegin(dayNumber(y, 1, 4), weekStart);
}

/// Whether a list names a place among so many, counted from the front or from the end.
bool holdsPlace(const std::vector<int>& list, int64_t place, int64_t of) {
    return std::ranges::any_of(
        list, [&](int each) { return each == place || (each < 0 && of + 1 + each == place); });
}

bool holds(const std::vector<int>& list, int64_t value) {
    return std::ranges::find(list, value) != list.end();
}

/// Seconds of a period of a frequency below the day.
int64_t unitSeconds(Frequency frequency) {
    if (frequency == Frequency::kHourly) return 3600;
    return frequency == Frequency::kMinutely ? 60 : 1;
}

}  // namespace

RuleWalk::RuleWalk(const RecurrenceRule& rule, WallSeconds start, WallSeconds from, WallSeconds to,
                   StepBudget& budget, Start first)
    : rule_(rule),
      start_(start),
      to_(std::clamp(to, start, kLastWall)),
      budget_(budget),
      remaining_(rule.count),
      limited_(rule.count > 0),
      startGiven_(first == Start::kMustMatch),
      earliest_(first == Start::kMustMatch ? start : start + 1) {
    deriveFromStart();
    const size_t tests = rule_.months.size() + rule_.yearDays.size() + rule_.monthDays.size() +
                         rule_.weeks.size() + rule_.weekdays.size();
    for (const RecurrenceRule::Weekday& each : rule_.weekdays)
        weekdays_.set(static_cast<size_t>(each.day));
    dayCost_ = 1 + static_cast<int64_t>(tests) / 8;
    const bool countable = !limited_ || rule.isPlainStep();
    if (from > start && countable) skipTo(from);
}

/// What a rule leaves open, the start tells.
void RuleWalk::deriveFromStart() {
    const int64_t day = dayOf(start_);
    const int64_t time = start_ - day * kSecondsPerDay;
    const auto date = dateOf(day);
    const Frequency frequency = rule_.frequency;
    if (rule_.hours.empty() && frequency >= Frequency::kDaily) {
        rule_.hours = {static_cast<int>(time / 3600)};
    }
    if (rule_.minutes.empty() && frequency >= Frequency::kHourly) {
        rule_.minutes = {static_cast<int>(time / 60 % 60)};
    }
    if (rule_.seconds.empty() && frequency >= Frequency::kMinutely) {
        rule_.seconds = {static_cast<int>(time % 60)};
    }
    std::erase(rule_.seconds, 60);  // leap seconds have no place on our clocks
    if (!rule_.weekdays.empty() || !rule_.yearDays.empty() || !rule_.monthDays.empty()) return;
    const bool byWeek = frequency == Frequency::kYearly && !rule_.weeks.empty();
    if (byWeek || frequency == Frequency::kWeekly) {
        rule_.weekdays = {{weekdayOf(day), 0}};
    } else if (frequency >= Frequency::kMonthly) {
        rule_.monthDays = {static_cast<int>(static_cast<unsigned>(date.day()))};
        if (frequency == Frequency::kYearly && rule_.months.empty()) {
            rule_.months = {static_cast<int>(static_cast<unsigned>(date.month()))};
        }
    }
}

/// The number of the period, counted from the start's in whole intervals, that holds a time.
int64_t RuleWalk::periodAt(WallSeconds wall) const {
    const int64_t day = dayOf(wall);
    const int64_t startDay = dayOf(start_);
    int64_t units = 0;
    switch (rule_.frequency) {
        case Frequency::kYearly:
            units =
                static_cast<int>(dateOf(day).year()) - static_cast<int>(dateOf(startDay).year());
            break;
        case Frequency::kMonthly:
            units = monthOf(day) - monthOf(startDay);
            break;
        case Frequency::kWeekly:
            units = (weekBegin(day, rule_.weekStart) - weekBegin(startDay, rule_.weekStart)) / 7;
            break;
        case Frequency::kDaily:
            units = day - startDay;
            break;
        default: {
            const int64_t unit = unitSeconds(rule_.frequency);
            units = floorDivide(wall, unit) - floorDivide(start_, unit);
        }
    }
    return floorDivide(units, rule_.interval);
}

void RuleWalk::skipTo(WallSeconds from) {
    // A year of weeks may reach into the next year.
    const int64_t before = rule_.weeks.empty() ? 0 : 1;
    const int64_t period = periodAt(std::min(from, kLastWall)) - before;
    if (period <= 0) return;
    period_ = period;
    remaining_ -= period;
    startGiven_ = true;
}

std::optional<WallSeconds> RuleWalk::next() {
    if (!startGiven_) {
        startGiven_ = true;
        --remaining_;
        return start_;
    }
    for (;;) {
        if (limited_ && remaining_ <= 0) return std::nullopt;
        while (nextTime_ < times_.size()) {
            const WallSeconds time = times_[nextTime_++];
            if (time < earliest_) continue;
            --remaining_;
            return time;
        }
        if (!fillPeriod()) return std::nullopt;
    }
}

/// Collects the times of the next period, maybe none. False at the end of the range or the budget.
bool RuleWalk::fillPeriod() {
    times_.clear();
    nextTime_ = 0;
    if (!budget_.take(dayCost_)) return false;
    const int64_t units = period_++ * rule_.interval;
    const int64_t startDay = dayOf(start_);
    bool filled = false;
    if (rule_.frequency == Frequency::kYearly) {
        filled = fillYear(units);
    } else if (rule_.frequency == Frequency::kMonthly) {
        filled = fillMonth(units);
    } else if (rule_.frequency == Frequency::kWeekly) {
        filled = fillDays(weekBegin(startDay, rule_.weekStart) + units * 7, 7);
    } else if (rule_.frequency == Frequency::kDaily) {
        filled = fillDays(startDay + units, 1);
    } else {
        const int64_t unit = unitSeconds(rule_.frequency);
        filled = fillFinePeriod((floorDivide(start_, unit) + units) * unit);
    }
    if (!filled || budget_.spent()) return false;
    choosePositions();
    return true;
}

bool RuleWalk::fillYear(int64_t units) {
    const int64_t number = yearOf(dayOf(start_)) + units;
    // A year of weeks may begin in the year before.
    if (number > yearOf(dayOf(to_)) + 1) return false;
    const int y = static_cast<int>(number);
    if (!rule_.weeks.empty()) {
        collectDays(firstWeek(y, rule_.weekStart), firstWeek(y + 1, rule_.weekStart) - 1);
        return true;
    }
    if (rule_.months.empty()) collectDays(dayNumber(y, 1, 1), dayNumber(y, 12, 31));
    for (const int month : rule_.months) {
        const auto m = static_cast<unsigned>(month);
        collectDays(dayNumber(y, m, 1), firstOfNextMonth(y, m) - 1);
    }
    return true;
}

bool RuleWalk::fillMonth(int64_t units) {
    const int64_t number = monthOf(dayOf(start_)) + units;
    if (number > monthOf(dayOf(to_))) return false;
    const int y = static_cast<int>(number / 12);
    const auto m = static_cast<unsigned>(number % 12 + 1);
    if (!rule_.months.empty() && !holds(rule_.months, m)) return true;
    collectDays(dayNumber(y, m, 1), firstOfNextMonth(y, m) - 1);
    return true;
}

bool RuleWalk::fillDays(int64_t firstDay, int64_t count) {
    if (firstDay > dayOf(to_)) return false;
    collectDays(firstDay, firstDay + count - 1);
    return true;
}

/// Adds the times of the days in the range that the rule's day parts let pass.
void RuleWalk::collectDays(int64_t firstDay, int64_t lastDay) {
    if (!budget_.take((lastDay - firstDay) * dayCost_)) return;
    days_.clear();
    const int64_t weeks = (lastDay - firstDay + 1) / 7;
    const bool byWeek = rule_.frequency == Frequency::kYearly && !rule_.weeks.empty();
    for (int64_t day = firstDay; day <= lastDay; ++day) {
        if (byWeek && !holdsPlace(rule_.weeks, (day - firstDay) / 7 + 1, weeks)) continue;
        if (dayMatches(day)) days_.push_back(day);
    }
    const size_t perDay = rule_.hours.size() * rule_.minutes.size() * rule_.seconds.size();
    if (!budget_.take(static_cast<int64_t>(perDay * days_.size()))) return;
    for (const int64_t day : days_) {
        for (const int hour : rule_.hours) {
            for (const int minute : rule_.minutes) {
                for (const int second : rule_.seconds) {
                    times_.push_back(day * kSecondsPerDay + hour * 3600 + minute * 60 + second);
                }
            }
        }
    }
}

/// Adds the times of an hour, minute or second. A day, hour or minute that the rule leaves out is
/// passed over as a whole.
bool RuleWalk::fillFinePeriod(WallSeconds begin) {
    if (begin > to_) return false;
    const int64_t unit = unitSeconds(rule_.frequency);
    const int64_t day = dayOf(begin);
    const int64_t time = begin - day * kSecondsPerDay;
    const auto passOver = [&](int64_t length) {
        const int64_t distance = (floorDivide(begin, length) + 1) * length - begin;
        const int64_t step = unit * rule_.interval;
        period_ += (distance + step - 1) / step - 1;
        return true;
    };
    if (!dayMatches(day)) return passOver(kSecondsPerDay);
    if (!rule_.hours.empty() && !holds(rule_.hours, time / 3600)) return passOver(3600);
    if (rule_.frequency == Frequency::kHourly) {
        if (!budget_.take(static_cast<int64_t>(rule_.minutes.size() * rule_.seconds.size()))) {
            return false;
        }
        for (const int minute : rule_.minutes) {
            for (const int second : rule_.seconds) times_.push_back(begin + minute * 60 + second);
        }
        return true;
    }
    if (!rule_.minutes.empty() && !holds(rule_.minutes, time / 60 % 60)) return passOver(60);
    if (rule_.frequency == Frequency::kMinutely) {
        for (const int second : rule_.seconds) times_.push_back(begin + second);
    } else if (rule_.seconds.empty() || holds(rule_.seconds, time % 60)) {
        times_.push_back(begin);
    }
    return true;
}

void RuleWalk::choosePositions() {
    if (rule_.positions.empty() || times_.empty()) return;
    std::vector<WallSeconds> chosen;
    const auto size = static_cast<int64_t>(times_.size());
    for (const int position : rule_.positions) {
        const int64_t index = position > 0 ? position - 1 : size + position;
        if (index >= 0 && index < size) chosen.push_back(times_[static_cast<size_t>(index)]);
    }
    std::ranges::sort(chosen);
    const auto repeated = std::ranges::unique(chosen);
    chosen.erase(repeated.begin(), repeated.end());
    times_ = std::move(chosen);
}

bool RuleWalk::dayMatches(int64_t day) const {
    // Most days of most rules fall by their weekday, which is the cheapest to tell.
    if (!rule_.weekdays.empty() && !weekdays_.test(static_cast<size_t>(weekdayOf(day))))
        return false;
    const auto date = dateOf(day);
    const int y = static_cast<int>(date.year());
    const auto month = static_cast<unsigned>(date.month());
    if (!rule_.months.empty() && !holds(rule_.months, month)) return false;
    if (!rule_.yearDays.empty()) {
        const int64_t first = dayNumber(y, 1, 1);
        if (!holdsPlace(rule_.yearDays, day - first + 1, dayNumber(y + 1, 1, 1) - first)) {
            return false;
        }
    }
    if (!rule_.monthDays.empty()) {
        const int64_t first = dayNumber(y, month, 1);
        if (!holdsPlace(rule_.monthDays, day - first + 1, firstOfNextMonth(y, month) - first)) {
            return false;
        }
    }
    return rule_.weekdays.empty() || weekdayMatches(day);
}

bool RuleWalk::weekdayMatches(int64_t day) const {
    const int weekday = weekdayOf(day);
    const auto date = dateOf(day);
    const int y = static_cast<int>(date.year());
    const bool ofMonth = rule_.frequency == Frequency::kMonthly || !rule_.months.empty();
    const auto month = static_cast<unsigned>(date.month());
    const int64_t first = ofMonth ? dayNumber(y, month, 1) : dayNumber(y, 1, 1);
    const int64_t last = (ofMonth ? firstOfNextMonth(y, month) : dayNumber(y + 1, 1, 1)) - 1;
    return std::ranges::any_of(rule_.weekdays, [&](const RecurrenceRule::Weekday& each) {
        if (each.day != weekday) return false;
        // Ordinals have a meaning within months and years only.
        if (each.ordinal == 0 || rule_.frequency < Frequency::kMonthly) return true;
        if (each.ordinal > 0) return (day - first) / 7 + 1 == each.ordinal;
        return (last - day) / 7 + 1 == -each.ordinal;
    });
}

}  // namespace groupware
