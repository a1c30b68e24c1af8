#include "groupware/items/ZoneAgreement.h"

#include <vector>

#include "groupware/ical/CalendarObject.h"

namespace groupware {

namespace {

constexpr int64_t kSeriesSteps = 60;
constexpr int64_t kSeriesStride = 13 * kSecondsPerDay;

/// The component's zoned times, those of its series included.
std::vector<IcalTime> timesOf(const CalendarComponent& component) {
    std::vector<IcalTime> times(component.exceptions);
    for (const auto& time : {component.start, component.end, component.recurrenceId}) {
        if (time) times.push_back(*time);
    }
    for (const IcalPeriod& date : component.dates) {
        times.push_back(date.start);
        if (date.end) times.push_back(*date.end);
    }
    std::erase_if(times, [](const IcalTime& time) { return time.kind != IcalTime::Kind::kZoned; });
    if (!component.start || component.rules.empty()) return times;
    IcalTime later = *component.start;
    for (int64_t i = 0; i < kSeriesSteps && later.kind == IcalTime::Kind::kZoned; ++i) {
        later.wall += kSeriesStride;
        times.push_back(later);
    }
    return times;
}

}  // namespace

bool zonesAgree(ItemKind kind, std::string_view text, std::string_view other, StepBudget& budget) {
    if (budget.spent()) return false;
    std::string problem;
    const auto one = CalendarObject::parse(kind, text, problem);
    const auto two = CalendarObject::parse(kind, other, problem);
    if (!one || !two) return false;
    for (const CalendarComponent& component : one->components()) {
        for (const IcalTime& time : timesOf(component)) {
            const int64_t byOne = one->clockOf(time, budget).utcSeconds(time.wall, budget);
            const int64_t byTwo = two->clockOf(time, budget).utcSeconds(time.wall, budget);
            if (byOne != byTwo || budget.spent()) return false;
        }
    }
    return true;
}

}  // namespace groupware
