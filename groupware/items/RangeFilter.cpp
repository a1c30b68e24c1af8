#include "groupware/items/RangeFilter.h"

#include <algorithm>

namespace groupware {

namespace {

constexpr int64_t kLeastSteps = 1'000;

}  // namespace

bool RangeFilter::holds(const FolderItem& item) {
    if (item.span.exact) return true;
    auto answer = item.occurrences.ask(range_);
    if (answer.known) return answer.occurs;

    const ParsedPointer parsed = cache_.textOf(item);
    if (!parsed) return false;
    std::string problem;
    const auto event = CalendarObject::parse(ItemKind::kEvent, parsed->text, problem);
    // An event that cannot be read is nobody's to hide.
    if (!event) return true;
    if (!answer.hopeless) {
        learn(item, *event);
        answer = item.occurrences.ask(range_);
    }
    return answer.known ? answer.occurs : occurs(*event);
}

void RangeFilter::learn(const FolderItem& item, const CalendarObject& event) {
    // Less would tell of this query rather than of the event.
    if (left_ < kItemSteps || item.span.firstStartMs == INT64_MIN) return;
    StepBudget budget(kItemSteps);
    item.memory.add(item.occurrences.learn(event, item.span, range_, budget));
    left_ -= kItemSteps - budget.left();
}

bool RangeFilter::occurs(const CalendarObject& event) {
    const int64_t given = std::clamp(left_, kLeastSteps, kItemSteps);
    StepBudget budget(given);
    const bool found = occursIn(event, range_, budget);
    left_ -= given - budget.left();
    return found;
}

}  // namespace groupware
