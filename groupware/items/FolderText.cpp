#include "groupware/items/FolderText.h"

#include <algorithm>

#include "groupware/ical/AsciiText.h"
#include "groupware/ical/ContentLines.h"
#include "groupware/ical/Occurrences.h"
#include "groupware/items/TextSplitter.h"
#include "groupware/items/ZoneAgreement.h"

namespace groupware {

void FolderText::add(std::string_view text) {
    using Step = ComponentReader::Step;
    const size_t level = kind_ == ItemKind::kContact ? 1 : 2;
    ComponentReader reader(text);
    Calendar item;
    std::string zone;
    size_t begin = 0;
    for (Step step = reader.next(); step != Step::kFinished && step != Step::kProblem;
         step = reader.next()) {
        if (reader.depth() != level) continue;
        const ContentLine& line = reader.line();
        if (step == Step::kBegin) begin = line.begin;
        if (step == Step::kProperty) {
            if (line.is("TZID")) zone = unescaped(trimmed(line.value));
            if (const auto named = line.parameter("TZID")) item.bare.emplace(*named);
        }
        if (step != Step::kEnd) continue;
        const std::string_view bytes = text.substr(begin, line.end - begin);
        if (reader.component(level - 1) != "VTIMEZONE") {
            appendLines(item.components, bytes);
        } else if (const auto [place, isNew] = item.zones.try_emplace(zone); isNew) {
            appendLines(place->second, bytes);
        }
    }
    for (const auto& [name, definition] : item.zones) item.bare.erase(name);
    Calendar& calendar = calendarFor(item);
    calendar.zones.merge(item.zones);
    calendar.bare.merge(item.bare);
    calendar.components += item.components;
}

/// The first of the last few calendars whose zones the item can share, else a new one.
FolderText::Calendar& FolderText::calendarFor(const Calendar& item) {
    constexpr size_t kMostTried = 8;
    const size_t from = calendars_.size() - std::min(calendars_.size(), kMostTried);
    for (size_t i = from; i < calendars_.size(); ++i) {
        if (fits(item, calendars_[i])) return calendars_[i];
    }
    return calendars_.emplace_back();
}

bool FolderText::fits(const Calendar& item, const Calendar& calendar) {
    Calendar shared{item.zones, {}, {}};
    const auto share = [&](const std::string& name) {
        const auto defined = calendar.zones.find(name);
        if (defined != calendar.zones.end()) {
            shared.zones[name] = defined->second;
        } else if (calendar.bare.contains(name)) {
            shared.zones.erase(name);  // it would count for items that have none of their own
        }
    };
    for (const auto& [name, definition] : item.zones) share(name);
    for (const std::string& name : item.bare) share(name);
    if (shared.zones == item.zones) return true;
    shared.components = item.components;
    const int64_t given = std::min(kItemSteps, comparing_.left());
    StepBudget budget(given);
    const bool agree = zonesAgree(kind_, textOf(item), textOf(shared), budget);
    comparing_.take(given - budget.left() + 1);
    return agree;
}

std::string FolderText::textOf(const Calendar& calendar) {
    std::string text =
        "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Corvane//CVWebDAV//EN\r\n"
        "CALSCALE:GREGORIAN\r\n";
    for (const auto& [name, definition] : calendar.zones) text += definition;
    return text.append(calendar.components).append("END:VCALENDAR\r\n");
}

std::string FolderText::whole() const {
    if (kind_ == ItemKind::kContact) return calendars_.front().components;
    std::string text;
    for (const Calendar& calendar : calendars_) text += textOf(calendar);
    return text;
}

}  // namespace groupware
