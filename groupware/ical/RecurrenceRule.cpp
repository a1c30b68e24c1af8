#include "groupware/ical/RecurrenceRule.h"

#include <algorithm>
#include <array>

#include "groupware/ical/AsciiText.h"

namespace groupware {

namespace {

using Rule = RecurrenceRule;
using Frequency = Rule::Frequency;

constexpr std::array<std::string_view, 7> kFrequencies = {"SECONDLY", "MINUTELY", "HOURLY", "DAILY",
                                                          "WEEKLY",   "MONTHLY",  "YEARLY"};
constexpr std::array<std::string_view, 7> kWeekdays = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

struct ListPart {
    std::string_view name;
    std::vector<int> Rule::*list;
    int lowest;
    int highest;
    bool fromEnd;  ///< negative numbers count from the end
};

constexpr std::array kListParts = {
    ListPart{"BYSECOND", &Rule::seconds, 0, 60, false},
    ListPart{"BYMINUTE", &Rule::minutes, 0, 59, false},
    ListPart{"BYHOUR", &Rule::hours, 0, 23, false},
    ListPart{"BYMONTHDAY", &Rule::monthDays, 1, 31, true},
    ListPart{"BYYEARDAY", &Rule::yearDays, 1, 366, true},
    ListPart{"BYWEEKNO", &Rule::weeks, 1, 53, true},
    ListPart{"BYMONTH", &Rule::months, 1, 12, false},
    ListPart{"BYSETPOS", &Rule::positions, 1, 366, true},
};

/// Position of a name in a table, or -1.
template <size_t size>
int indexOf(const std::array<std::string_view, size>& names, std::string_view name) {
    const auto found =
        std::ranges::find_if(names, [&](std::string_view each) { return equalNames(each, name); });
    return found == names.end() ? -1 : static_cast<int>(found - names.begin());
}

/// Sorted, each once: so a list is never longer than its range.
bool parseList(const ListPart& part, std::string_view value, std::vector<int>& list) {
    while (!value.empty()) {
        const auto number = numberFrom(trimmed(cutFirst(value, ',')));
        if (!number) return false;
        const int64_t size = part.fromEnd && *number < 0 ? -int64_t{*number} : *number;
        if (size < part.lowest || size > part.highest) return false;
        if (std::ranges::find(list, *number) == list.end()) list.push_back(*number);
    }
    std::ranges::sort(list);
    return !list.empty();
}

bool parseWeekdays(std::string_view value, std::vector<Rule::Weekday>& list) {
    constexpr size_t kMost = 7 * 107;  // every weekday with every ordinal
    while (!value.empty()) {
        const std::string_view text = trimmed(cutFirst(value, ','));
        if (text.size() < 2 || list.size() == kMost) return false;
        const int day = indexOf(kWeekdays, text.substr(text.size() - 2));
        const std::string_view ordinal = text.substr(0, text.size() - 2);
        const auto number = ordinal.empty() ? std::optional<int>(0) : numberFrom(ordinal);
        if (day < 0 || !number || *number < -53 || *number > 53) return false;
        list.push_back({day, *number});
    }
    return !list.empty();
}

bool parsePart(Rule& rule, std::string_view name, std::string_view value, bool& hasFrequency) {
    if (equalNames(name, "FREQ")) {
        const int index = indexOf(kFrequencies, value);
        hasFrequency = index >= 0;
        rule.frequency = static_cast<Frequency>(std::max(index, 0));
        return hasFrequency;
    }
    if (equalNames(name, "UNTIL")) {
        rule.until = parseIcalTime(value, {});
        return rule.until.has_value();
    }
    if (equalNames(name, "INTERVAL") || equalNames(name, "COUNT")) {
        const auto number = numberFrom(value);
        if (!number || *number < 1) return false;
        (equalNames(name, "COUNT") ? rule.count : rule.interval) = *number;
        return true;
    }
    if (equalNames(name, "BYDAY")) return parseWeekdays(value, rule.weekdays);
    if (equalNames(name, "WKST")) {
        const int index = indexOf(kWeekdays, value);
        if (index >= 0) rule.weekStart = index;
        return true;
    }
    if (equalNames(name, "RSCALE")) return equalNames(value, "GREGORIAN");
    const auto part = std::ranges::find_if(
        kListParts, [&](const ListPart& each) { return equalNames(each.name, name); });
    // Parts that we do not know cannot be told from parts that would change the times.
    if (part == kListParts.end()) return startsWithName(name, "X-");
    return parseList(*part, value, rule.*(part->list));
}

}  // namespace

std::optional<RecurrenceRule> RecurrenceRule::parse(std::string_view text) {
    RecurrenceRule rule;
    bool hasFrequency = false;
    text = trimmed(text);
    while (!text.empty()) {
        std::string_view value = trimmed(cutFirst(text, ';'));
        if (value.empty()) continue;
        const std::string_view name = trimmed(cutFirst(value, '='));
        if (!parsePart(rule, name, trimmed(value), hasFrequency)) return std::nullopt;
    }
    if (!hasFrequency) return std::nullopt;
    return rule;
}

bool RecurrenceRule::isPlainStep() const {
    const bool noLists = std::ranges::all_of(
        kListParts, [this](const ListPart& part) { return (this->*(part.list)).empty(); });
    return noLists && weekdays.empty() && frequency <= Frequency::kWeekly;
}

}  // namespace groupware
