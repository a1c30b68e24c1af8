#include "groupware/ical/Occurrences.h"

#include <algorithm>

namespace groupware {

namespace {

constexpr int64_t kMsPerSecond = 1'000;
/// Clocks differ from UTC by at most this much.
constexpr int64_t kClockSpread = 14 * 3600;
/// Further than any time that an item can name, and safe to count with.
constexpr int64_t kFarSeconds = INT64_MAX / 4 / kMsPerSecond;

int64_t secondsOf(int64_t ms) {
    return std::clamp(ms / kMsPerSecond, -kFarSeconds, kFarSeconds);
}

/// How long each occurrence of a component lasts.
struct Length {
    int64_t days = 0;  ///< on the wall
    int64_t seconds = 0;

    int64_t atMost() const { return days * kSecondsPerDay + seconds; }
};

Length lengthBetween(const CalendarObject& event, const IcalTime& start, const IcalTime& end,
                     StepBudget& budget) {
    if (start.isDate() && end.isDate()) {
        return {std::max<int64_t>(dayOf(end.wall) - dayOf(start.wall), 1), 0};
    }
    const int64_t seconds = event.clockOf(end, budget).utcSeconds(end.wall, budget) -
                            event.clockOf(start, budget).utcSeconds(start.wall, budget);
    return {0, std::max<int64_t>(seconds, 0)};
}

Length lengthFrom(const IcalTime& start, const std::optional<IcalDuration>& duration) {
    const Length none{start.isDate() ? 1 : 0, 0};
    if (!duration || duration->days < 0 || duration->seconds < 0) return none;
    const Length length{duration->days, duration->seconds};
    return length.atMost() == 0 ? none : length;
}

Length lengthOf(const CalendarObject& event, const CalendarComponent& component,
                StepBudget& budget) {
    if (component.end) return lengthBetween(event, *component.start, *component.end, budget);
    return lengthFrom(*component.start, component.duration);
}

Occurrence occurrenceAt(WallSeconds wall, const WallClock& clock, const Length& length,
                        const CalendarComponent& component, StepBudget& budget) {
    const int64_t start = clock.utcSeconds(wall, budget);
    int64_t end = start;
    if (length.days > 0) end = clock.utcSeconds(wall + length.days * kSecondsPerDay, budget);
    return {start * kMsPerSecond, (end + length.seconds) * kMsPerSecond, &component};
}

/// Times of a recurring event, as EXDATE and RECURRENCE-ID name them.
class InstanceSet {
  public:
    InstanceSet(const CalendarObject& event, const IcalTime& start)
        : event_(event), start_(start) {}

    void add(const IcalTime& time, StepBudget& budget) {
        if (time.isDate() || start_.isDate()) {
            days_.push_back(dayOf(time.wall));
        } else if (time.kind == IcalTime::Kind::kFloating ||
                   (time.kind == start_.kind && time.zone == start_.zone)) {
            // A floating one means the clock of the series.
            walls_.push_back(time.wall);
        } else {
            utc_.push_back(event_.clockOf(time, budget).utcSeconds(time.wall, budget));
        }
    }
    void addWall(WallSeconds wall) { walls_.push_back(wall); }
    void sort() {
        for (auto* list : {&days_, &walls_, &utc_}) std::ranges::sort(*list);
    }
    bool holds(WallSeconds wall, const WallClock& clock, StepBudget& budget) const {
        return std::ranges::binary_search(walls_, wall) ||
               std::ranges::binary_search(days_, dayOf(wall)) ||
               (!utc_.empty() && std::ranges::binary_search(utc_, clock.utcSeconds(wall, budget)));
    }

  private:
    const CalendarObject& event_;
    const IcalTime& start_;
    std::vector<int64_t> days_;
    std::vector<int64_t> walls_;
    std::vector<int64_t> utc_;
};

/// A change of an instance and of all that follow it.
struct Shift {
    int64_t fromUtc = 0;
    int64_t delta = 0;
    Length length;
    const CalendarComponent* component = nullptr;
};

/// One look through the occurrences of an event.
class Scan {
  public:
    Scan(const CalendarObject& event, TimeRange range, StepBudget& budget,
         const std::function<bool(const Occurrence&)>& each)
        : event_(event), range_(range), budget_(budget), each_(each) {}

    bool run();

  private:
    void collectChanges(const CalendarComponent& master);
    bool collectExclusions();
    RecurrenceRule fitted(const RecurrenceRule& given) const;
    /// The clock's times between which instances can lie that touch the range.
    WallSeconds firstWall() const { return secondsOf(range_.fromMs) - reach_ - kSecondsPerDay; }
    WallSeconds lastWall() const { return secondsOf(range_.toMs) + reach_ + kSecondsPerDay; }
    bool scanRule(const RecurrenceRule& rule);
    void scanDates();
    bool isBefore(const RecurrenceRule& rule, WallSeconds wall) const;
    void offerInstance(WallSeconds wall, const WallClock& clock, Length length);
    void offer(const Occurrence& occurrence);

    const CalendarObject& event_;
    const TimeRange range_;
    StepBudget& budget_;
    const std::function<bool(const Occurrence&)>& each_;
    const CalendarComponent* master_ = nullptr;
    WallClock clock_;
    Length length_;
    std::optional<InstanceSet> left_;  ///< instances that are left out or changed
    std::vector<Shift> shifts_;        ///< in rising order
    int64_t reach_ = 0;                ///< how far an instance may lie from the time of its rule
    bool wanted_ = true;               ///< the callee has not seen enough
};

bool Scan::run() {
    master_ = event_.master();
    for (const CalendarComponent& component : event_.components()) {
        if (&component == master_ || !wanted_) continue;
        const WallClock clock = event_.clockOf(*component.start, budget_);
        offer(occurrenceAt(component.start->wall, clock, lengthOf(event_, component, budget_),
                           component, budget_));
    }
    if (master_ == nullptr || !wanted_) return !budget_.spent();
    clock_ = event_.clockOf(*master_->start, budget_);
    length_ = lengthOf(event_, *master_, budget_);
    left_.emplace(event_, *master_->start);
    collectChanges(*master_);
    const bool excluded = collectExclusions();
    left_->sort();
    if (master_->rules.empty()) offerInstance(master_->start->wall, clock_, length_);
    scanDates();
    for (const RecurrenceRule& rule : master_->rules) {
        if (wanted_ && !scanRule(rule)) return false;
    }
    return excluded && !budget_.spent() && !master_->unreadableRule;
}

void Scan::collectChanges(const CalendarComponent& master) {
    reach_ = length_.atMost() + kSecondsPerDay;
    for (const IcalTime& time : master.exceptions) left_->add(time, budget_);
    for (const CalendarComponent& component : event_.components()) {
        if (!component.recurrenceId) continue;
        left_->add(*component.recurrenceId, budget_);
        if (!component.thisAndFuture) continue;
        const IcalTime& from = *component.recurrenceId;
        const int64_t fromUtc = event_.clockOf(from, budget_).utcSeconds(from.wall, budget_);
        const WallClock clock = event_.clockOf(*component.start, budget_);
        const int64_t delta = clock.utcSeconds(component.start->wall, budget_) - fromUtc;
        shifts_.push_back({fromUtc, delta, lengthOf(event_, component, budget_), &component});
        reach_ = std::max(
            reach_, shifts_.back().length.atMost() + kSecondsPerDay + (delta < 0 ? -delta : delta));
    }
    std::ranges::sort(shifts_, {}, &Shift::fromUtc);
}

void Scan::scanDates() {
    for (const IcalPeriod& date : master_->dates) {
        if (!wanted_ || !budget_.take()) return;
        Length length = length_;
        if (date.end) length = lengthBetween(event_, date.start, *date.end, budget_);
        if (date.duration) length = lengthFrom(date.start, date.duration);
        offerInstance(date.start.wall, event_.clockOf(date.start, budget_), length);
    }
}

/// Whole days know no times of day.
RecurrenceRule Scan::fitted(const RecurrenceRule& given) const {
    RecurrenceRule rule = given;
    if (!master_->start->isDate()) return rule;
    rule.hours.clear();
    rule.minutes.clear();
    rule.seconds.clear();
    return rule;
}

/// False when the times that rules leave out could not all be told.
bool Scan::collectExclusions() {
    for (const RecurrenceRule& given : master_->exclusions) {
        const RecurrenceRule rule = fitted(given);
        RuleWalk walk(rule, master_->start->wall, firstWall(), lastWall(), budget_,
                      RuleWalk::Start::kMustMatch);
        while (const auto wall = walk.next()) {
            if (*wall > lastWall() || !isBefore(rule, *wall)) break;
            if (*wall >= firstWall()) left_->addWall(*wall);
        }
    }
    return !budget_.spent();
}

/// False when the rule's times in the range could not all be told.
bool Scan::scanRule(const RecurrenceRule& given) {
    const RecurrenceRule rule = fitted(given);
    RuleWalk walk(rule, master_->start->wall, firstWall(), lastWall(), budget_);
    while (const auto wall = walk.next()) {
        if (*wall > lastWall() || !wanted_ || !isBefore(rule, *wall)) return true;
        if (*wall >= firstWall()) offerInstance(*wall, clock_, length_);
    }
    return !budget_.spent();
}

/// Whether a time lies before the rule's end.
bool Scan::isBefore(const RecurrenceRule& rule, WallSeconds wall) const {
    if (!rule.until) return true;
    const IcalTime& until = *rule.until;
    if (until.isDate()) return dayOf(wall) <= dayOf(until.wall);
    if (until.kind != IcalTime::Kind::kUtc) return wall <= until.wall;
    if (wall + kSecondsPerDay < until.wall) return true;
    return clock_.utcSeconds(wall, budget_) <= until.wall;
}

void Scan::offerInstance(WallSeconds wall, const WallClock& clock, Length length) {
    if (left_->holds(wall, clock, budget_)) return;
    Occurrence occurrence = occurrenceAt(wall, clock, length, *master_, budget_);
    const int64_t startUtc = occurrence.startMs / kMsPerSecond;
    const auto after = std::ranges::upper_bound(shifts_, startUtc, {}, &Shift::fromUtc);
    if (after != shifts_.begin()) {
        const Shift& shift = *(after - 1);
        occurrence.startMs = (startUtc + shift.delta) * kMsPerSecond;
        occurrence.endMs = occurrence.startMs + shift.length.atMost() * kMsPerSecond;
        occurrence.component = shift.component;
    }
    offer(occurrence);
}

void Scan::offer(const Occurrence& occurrence) {
    if (occurrence.touches(range_) && !each_(occurrence)) wanted_ = false;
}

/// The last time of a rule, on the wall; nothing when there is none in sight.
std::optional<WallSeconds> lastOf(const RecurrenceRule& rule, WallSeconds start) {
    if (rule.until) return std::max(start, rule.until->wall + kSecondsPerDay);
    constexpr int64_t kCountSteps = 20'000;
    if (rule.count == 0 || rule.count > kCountSteps) return std::nullopt;
    StepBudget budget(kCountSteps);
    RuleWalk walk(rule, start, start, INT64_MAX, budget);
    WallSeconds last = start;
    while (const auto wall = walk.next()) last = *wall;
    if (budget.spent()) return std::nullopt;
    return last;
}

/// Gathers the span of what it is told.
class SpanBuilder {
  public:
    explicit SpanBuilder(const CalendarObject& event) : event_(event) {}

    void add(const CalendarComponent& component) {
        const Length length = lengthOf(event_, component, budget_);
        add(event_.clockOf(*component.start, budget_), component.start->wall, length);
    }
    void add(const WallClock& clock, WallSeconds wall, const Length& length) {
        const Occurrence at = occurrenceAt(wall, clock, length, event_.components()[0], budget_);
        const int64_t spread = clock.isFixed() ? 0 : 2 * kClockSpread * kMsPerSecond;
        first_ = std::min(first_, at.startMs - spread);
        // An occurrence without length still takes up its moment.
        last_ = std::max(last_, std::max(at.endMs, at.startMs + 1) + spread);
    }
    /// More room on both sides.
    void widen(int64_t seconds) {
        first_ -= seconds * kMsPerSecond;
        last_ += seconds * kMsPerSecond;
    }
    ItemSpan span(bool endless, bool exact) const {
        // A zone that takes all steps is not understood.
        if (budget_.spent()) return {};
        return {first_, endless ? INT64_MAX : last_, exact};
    }

    StepBudget& budget() { return budget_; }

  private:
    const CalendarObject& event_;
    StepBudget budget_{kItemSteps};
    int64_t first_ = INT64_MAX;
    int64_t last_ = INT64_MIN;
};

}  // namespace

bool Occurrence::touches(TimeRange range) const {
    if (endMs <= startMs) return range.fromMs <= startMs && range.toMs > startMs;
    return range.fromMs < endMs && range.toMs > startMs;
}

bool eachOccurrence(const CalendarObject& event, TimeRange range, StepBudget& budget,
                    const std::function<bool(const Occurrence&)>& each) {
    return Scan(event, range, budget, each).run();
}

bool occursIn(const CalendarObject& event, TimeRange range, StepBudget& budget) {
    bool found = false;
    const bool complete = eachOccurrence(event, range, budget, [&](const Occurrence&) {
        found = true;
        return false;
    });
    if (found || complete) return found;
    const ItemSpan span = spanOf(event);
    return span.firstStartMs < range.toMs && span.lastEndMs > range.fromMs;
}

ItemSpan spanOf(const CalendarObject& event) {
    SpanBuilder builder(event);
    for (const CalendarComponent& component : event.components()) builder.add(component);
    const CalendarComponent* master = event.master();
    if (master == nullptr) return builder.span(false, false);
    const WallClock clock = event.clockOf(*master->start, builder.budget());
    const Length length = lengthOf(event, *master, builder.budget());
    for (const IcalPeriod& date : master->dates) {
        const Length own = date.end ? lengthBetween(event, date.start, *date.end, builder.budget())
                                    : lengthFrom(date.start, date.duration);
        builder.add(event.clockOf(date.start, builder.budget()), date.start.wall,
                    own.atMost() > length.atMost() ? own : length);
    }
    bool endless = master->unreadableRule;
    for (const RecurrenceRule& rule : master->rules) {
        if (const auto last = lastOf(rule, master->start->wall)) {
            builder.add(clock, *last, length);
        } else {
            endless = true;
        }
    }
    for (const CalendarComponent& component : event.components()) {
        if (!component.recurrenceId || !component.thisAndFuture) continue;
        const int64_t delta = component.start->wall - component.recurrenceId->wall;
        builder.widen((delta < 0 ? -delta : delta) + kSecondsPerDay +
                      lengthOf(event, component, builder.budget()).atMost());
    }
    const bool single = event.components().size() == 1 && master->rules.empty() &&
                        !master->unreadableRule && master->dates.empty() &&
                        master->exceptions.empty() && master->exclusions.empty() &&
                        clock.isFixed() &&
                        (!master->end || event.clockOf(*master->end, builder.budget()).isFixed());
    return builder.span(endless, single);
}

}  // namespace groupware
