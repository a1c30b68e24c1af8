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

/// Whether a time stands on the clock that the series begins on; a floating one means that clock.
bool standsOnClockOf(const IcalTime& start, const IcalTime& time) {
    return time.kind == IcalTime::Kind::kFloating ||
           (time.kind == start.kind && time.zone == start.zone);
}

/// Times of a recurring event, as EXDATE and RECURRENCE-ID name them.
class InstanceSet {
  public:
    InstanceSet(const CalendarObject& event, const IcalTime& start)
        : event_(event), start_(start) {}

    void add(const IcalTime& time, StepBudget& budget) {
        if (time.isDate() || start_.isDate()) {
            days_.push_back(dayOf(time.wall));
        } else if (standsOnClockOf(start_, time)) {
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
    /// For a moment that another clock tells than that of the series.
    bool holdsMoment(int64_t utc, const WallClock& clock, StepBudget& budget) {
        if (moments_.empty()) {
            moments_ = utc_;
            for (const int64_t wall : walls_) moments_.push_back(clock.utcSeconds(wall, budget));
            std::ranges::sort(moments_);
        }
        return std::ranges::binary_search(moments_, utc) ||
               std::ranges::binary_search(days_, dayOf(clock.wallSeconds(utc, budget)));
    }

  private:
    const CalendarObject& event_;
    const IcalTime& start_;
    std::vector<int64_t> days_;
    std::vector<int64_t> walls_;
    std::vector<int64_t> utc_;
    std::vector<int64_t> moments_;  ///< those of walls_ and utc_, when they have been asked for
};

/// Whole days know no times of day.
RecurrenceRule fitted(const RecurrenceRule& given, const IcalTime& start) {
    RecurrenceRule rule = given;
    if (!start.isDate()) return rule;
    rule.hours.clear();
    rule.minutes.clear();
    rule.seconds.clear();
    return rule;
}

/// A change of an instance and of all that follow it.
struct Shift {
    int64_t fromUtc = 0;
    WallSeconds delta = 0;  ///< on the wall, so that it holds in summer and in winter
    WallClock clock;
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
    bool scanSeries(const CalendarComponent& master);
    void collectChanges();
    Shift shiftBy(const CalendarComponent& component);
    bool collectExclusions();
    /// The clock's times between which instances can lie that touch the range.
    WallSeconds firstWall() const { return secondsOf(range_.fromMs) - reach_ - kSecondsPerDay; }
    WallSeconds lastWall() const { return secondsOf(range_.toMs) + reach_ + kSecondsPerDay; }
    bool scanRule(const RecurrenceRule& rule);
    void scanDates();
    bool isBefore(const RecurrenceRule& rule, WallSeconds wall) const;
    void offerInstance(WallSeconds wall);
    void offerDate(const IcalPeriod& date);
    void offerShifted(const Occurrence& occurrence, WallSeconds wall);
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
    for (const CalendarComponent& component : event_.components()) {
        if (!component.recurrenceId || !wanted_) continue;
        const WallClock clock = event_.clockOf(*component.start, budget_);
        offer(occurrenceAt(component.start->wall, clock, lengthOf(event_, component, budget_),
                           component, budget_));
    }
    bool complete = true;
    // There should be one; but some programs give all events the same UID.
    for (const CalendarComponent& component : event_.components()) {
        if (!component.recurrenceId && wanted_) complete = scanSeries(component) && complete;
    }
    return complete && !budget_.spent();
}

/// False when some occurrences may not have been found.
bool Scan::scanSeries(const CalendarComponent& master) {
    // Each looks at the changes of all.
    if (!budget_.take(static_cast<int64_t>(event_.components().size() / 16))) return false;
    master_ = &master;
    clock_ = event_.clockOf(*master.start, budget_);
    length_ = lengthOf(event_, master, budget_);
    left_.emplace(event_, *master.start);
    shifts_.clear();
    collectChanges();
    const bool excluded = collectExclusions();
    left_->sort();
    if (master.rules.empty()) offerInstance(master.start->wall);
    for (const IcalPeriod& date : master.dates) {
        if (wanted_ && budget_.take()) offerDate(date);
    }
    for (const RecurrenceRule& rule : master.rules) {
        if (wanted_ && !scanRule(rule)) return false;
    }
    return excluded && !master.unreadableRule;
}

void Scan::collectChanges() {
    reach_ = length_.atMost() + kSecondsPerDay;
    for (const IcalTime& time : master_->exceptions) left_->add(time, budget_);
    for (const CalendarComponent& component : event_.components()) {
        if (!component.recurrenceId) continue;
        left_->add(*component.recurrenceId, budget_);
        if (!component.thisAndFuture) continue;
        shifts_.push_back(shiftBy(component));
        const Shift& shift = shifts_.back();
        reach_ = std::max(reach_, shift.length.atMost() + 2 * kSecondsPerDay +
                                      (shift.delta < 0 ? -shift.delta : shift.delta));
    }
    std::ranges::sort(shifts_, {}, &Shift::fromUtc);
}

Shift Scan::shiftBy(const CalendarComponent& component) {
    const IcalTime& from = *component.recurrenceId;
    const IcalTime& to = *component.start;
    const auto utcOf = [&](const IcalTime& time) {
        return event_.clockOf(time, budget_).utcSeconds(time.wall, budget_);
    };
    Shift shift{0, 0, clock_, lengthOf(event_, component, budget_), &component};
    WallSeconds wall = from.wall;
    if (from.isDate() && !master_->start->isDate()) {
        wall += master_->start->wall - dayOf(master_->start->wall) * kSecondsPerDay;
    } else if (!standsOnClockOf(*master_->start, from)) {
        wall = clock_.wallSeconds(utcOf(from), budget_);
    }
    shift.fromUtc = clock_.utcSeconds(wall, budget_);
    if (to.kind == IcalTime::Kind::kUtc) {
        // It tells one moment, and no clock that the others are to follow.
        shift.delta = clock_.wallSeconds(utcOf(to), budget_) - wall;
    } else {
        shift.delta = to.wall - wall;
        shift.clock = event_.clockOf(to, budget_);
    }
    return shift;
}

/// False when the times that rules leave out could not all be told.
bool Scan::collectExclusions() {
    for (const RecurrenceRule& given : master_->exclusions) {
        const RecurrenceRule rule = fitted(given, *master_->start);
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
    const RecurrenceRule rule = fitted(given, *master_->start);
    RuleWalk walk(rule, master_->start->wall, firstWall(), lastWall(), budget_);
    while (const auto wall = walk.next()) {
        if (*wall > lastWall() || !wanted_ || !isBefore(rule, *wall)) return true;
        if (*wall >= firstWall()) offerInstance(*wall);
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

void Scan::offerInstance(WallSeconds wall) {
    if (left_->holds(wall, clock_, budget_)) return;
    offerShifted(occurrenceAt(wall, clock_, length_, *master_, budget_), wall);
}

void Scan::offerDate(const IcalPeriod& date) {
    Length length = length_;
    if (date.end) length = lengthBetween(event_, date.start, *date.end, budget_);
    if (date.duration) length = lengthFrom(date.start, date.duration);
    const bool onClock = standsOnClockOf(*master_->start, date.start);
    const WallClock clock = onClock ? clock_ : event_.clockOf(date.start, budget_);
    const Occurrence at = occurrenceAt(date.start.wall, clock, length, *master_, budget_);
    const int64_t utc = at.startMs / kMsPerSecond;
    const bool leftOut = onClock ? left_->holds(date.start.wall, clock_, budget_)
                                 : left_->holdsMoment(utc, clock_, budget_);
    if (leftOut) return;
    offerShifted(at, onClock ? date.start.wall : clock_.wallSeconds(utc, budget_));
}

/// As the last change of the series before it left it; the wall time is on the clock of the series.
void Scan::offerShifted(const Occurrence& occurrence, WallSeconds wall) {
    const auto after =
        std::ranges::upper_bound(shifts_, occurrence.startMs / kMsPerSecond, {}, &Shift::fromUtc);
    if (after == shifts_.begin()) return offer(occurrence);
    const Shift& shift = *(after - 1);
    offer(occurrenceAt(wall + shift.delta, shift.clock, shift.length, *shift.component, budget_));
}

void Scan::offer(const Occurrence& occurrence) {
    if (occurrence.touches(range_) && !each_(occurrence)) wanted_ = false;
}

/// Steps in which the ends of an event's rules are looked for.
constexpr int64_t kCountSteps = 20'000;

/// The last time of a rule, on the wall; nothing when there is none in sight.
std::optional<WallSeconds> lastOf(const RecurrenceRule& given, const IcalTime& first,
                                  StepBudget& budget) {
    const RecurrenceRule rule = fitted(given, first);
    const WallSeconds start = first.wall;
    if (rule.until) return std::max(start, rule.until->wall + kSecondsPerDay);
    if (rule.count == 0 || rule.count > budget.left()) return std::nullopt;
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
        // The server's own clock is another one once it stands elsewhere.
        static const WallClock kUtc(std::make_shared<const TimeZone>());
        const Occurrence at = occurrenceAt(wall, clock.isFixed() ? clock : kUtc, length,
                                           event_.components()[0], budget_);
        const int64_t spread = clock.isFixed() ? 0 : kClockSpread * kMsPerSecond;
        first_ = std::min(first_, at.startMs - spread);
        // An occurrence without length still takes up its moment.
        last_ = std::max(last_, std::max(at.endMs, at.startMs + 1) + spread);
    }
    /// Adds the times of a series; false when it has no end in sight.
    bool addSeries(const CalendarComponent& master) {
        const WallClock clock = event_.clockOf(*master.start, budget_);
        const Length length = lengthOf(event_, master, budget_);
        for (const IcalPeriod& date : master.dates) {
            const Length own = date.end ? lengthBetween(event_, date.start, *date.end, budget_)
                                        : lengthFrom(date.start, date.duration);
            const bool onClock = standsOnClockOf(*master.start, date.start);
            add(onClock ? clock : event_.clockOf(date.start, budget_), date.start.wall,
                own.atMost() > length.atMost() ? own : length);
        }
        bool ends = !master.unreadableRule;
        for (const RecurrenceRule& rule : master.rules) {
            const auto last = lastOf(rule, *master.start, counting_);
            if (last) add(clock, *last, length);
            ends = ends && last.has_value();
        }
        return ends;
    }
    /// Gives room on both sides for a change of all instances from one on.
    void widenBy(const CalendarComponent& change) {
        const int64_t delta = change.start->wall - change.recurrenceId->wall;
        const int64_t room = (delta < 0 ? -delta : delta) + 2 * kSecondsPerDay +
                             lengthOf(event_, change, budget_).atMost();
        first_ -= room * kMsPerSecond;
        last_ += room * kMsPerSecond;
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
    StepBudget counting_{kCountSteps};
    int64_t first_ = INT64_MAX;
    int64_t last_ = INT64_MIN;
};

/// One occurrence, whose time does not depend on where the server stands.
bool isSingle(const CalendarObject& event, StepBudget& budget) {
    const CalendarComponent& only = event.components().front();
    return event.components().size() == 1 && !only.recurrenceId && only.rules.empty() &&
           !only.unreadableRule && only.dates.empty() && only.exceptions.empty() &&
           only.exclusions.empty() && event.clockOf(*only.start, budget).isFixed() &&
           (!only.end || event.clockOf(*only.end, budget).isFixed());
}

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
    bool endless = false;
    for (const CalendarComponent& component : event.components()) {
        builder.add(component);
        if (!component.recurrenceId && !builder.addSeries(component)) endless = true;
    }
    for (const CalendarComponent& component : event.components()) {
        if (component.recurrenceId && component.thisAndFuture) builder.widenBy(component);
    }
    return builder.span(endless, isSingle(event, builder.budget()));
}

}  // namespace groupware
