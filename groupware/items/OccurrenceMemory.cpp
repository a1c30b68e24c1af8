#include "groupware/items/OccurrenceMemory.h"

#include <algorithm>

namespace groupware {

namespace {

constexpr int64_t kDayMs = int64_t{kSecondsPerDay} * 1000;
/// Clients ask for neighbouring months next.
constexpr int64_t kMarginMs = 100 * kDayMs;
/// A range without end is known by its first year or so.
constexpr int64_t kFarthestMs = 400 * kDayMs;
constexpr size_t kMostTimes = 1024;
constexpr int kMostWindows = 4;

int64_t before(int64_t time, int64_t distance) {
    return time < INT64_MIN + distance ? INT64_MIN : time - distance;
}

int64_t after(int64_t time, int64_t distance) {
    return time > INT64_MAX - distance ? INT64_MAX : time + distance;
}

bool holds(TimeRange outer, TimeRange inner) {
    return outer.fromMs <= inner.fromMs && inner.toMs <= outer.toMs;
}

}  // namespace

OccurrenceMemory::Answer OccurrenceMemory::ask(TimeRange range) const {
    Answer answer;
    for (const Window* window = first_.get(); window; window = window->next.get()) {
        if (window->touches(range)) return {true, true, false};
        if (!holds(window->range, range)) continue;
        (window->complete ? answer.known : answer.hopeless) = true;
    }
    return answer;
}

bool OccurrenceMemory::Window::touches(TimeRange wanted) const {
    auto time = std::ranges::lower_bound(times, before(wanted.fromMs, longest), {}, &Time::startMs);
    for (; time != times.end() && time->startMs < wanted.toMs; ++time) {
        if (Occurrence{time->startMs, time->endMs}.touches(wanted)) return true;
    }
    return false;
}

size_t OccurrenceMemory::learn(const CalendarObject& event, const ItemSpan& span, TimeRange range,
                               StepBudget& budget) const {
    const Remembered<Window>* place = &first_;
    for (int windows = 1; place->get(); ++windows) {
        if (windows == kMostWindows) return 0;
        place = &place->get()->next;
    }
    auto window = std::make_unique<Window>();
    window->range = rangeAround(range, span);
    const bool all = eachOccurrence(event, window->range, budget, [&](const Occurrence& at) {
        if (window->times.size() == kMostTimes) return false;
        window->times.push_back({at.startMs, at.endMs});
        window->longest = std::max(window->longest, at.endMs - at.startMs);
        return true;
    });
    window->complete = all && window->times.size() < kMostTimes;
    if (!window->complete) window->times.clear();
    window->times.shrink_to_fit();
    std::ranges::sort(window->times, {}, &Time::startMs);
    // Nothing lies beyond the span.
    if (window->range.fromMs <= span.firstStartMs) window->range.fromMs = INT64_MIN;
    if (window->range.toMs >= span.lastEndMs) window->range.toMs = INT64_MAX;
    const size_t bytes = sizeof(Window) + window->times.size() * sizeof(Time);
    return place->keep(std::move(window)) ? bytes : 0;
}

TimeRange OccurrenceMemory::rangeAround(TimeRange range, const ItemSpan& span) {
    const int64_t from = std::max(range.fromMs, span.firstStartMs);
    const int64_t to = std::min({range.toMs, span.lastEndMs, after(from, kFarthestMs)});
    return {std::max(before(from, kMarginMs), before(span.firstStartMs, 1)), after(to, kMarginMs)};
}

}  // namespace groupware
