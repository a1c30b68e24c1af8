#include "groupware/items/ItemText.h"

#include "groupware/ical/Occurrences.h"
#include "groupware/ical/TextEdit.h"
#include "groupware/ical/VCard.h"

namespace groupware {

namespace {

ItemFacts eventFacts(const CalendarObject& event) {
    ItemFacts facts;
    const CalendarComponent& leading = event.components()[leadingComponent(event)];
    facts.attendees = leading.attendees;
    if (leading.organizer) {
        facts.organizer = leading.organizer->address;
        for (CalendarUser& attendee : facts.attendees) {
            attendee.serverSends = attendee.serverSends && leading.organizer->serverSends;
        }
    }
    facts.span = spanOf(event);
    return facts;
}

ItemFacts taskFacts(const CalendarObject& task) {
    ItemFacts facts;
    if (const CalendarComponent* master = task.master()) {
        const auto& time = master->start ? master->start : master->end;
        if (time) facts.reference = dateTimeFromWall(time->wall);
    }
    for (const CalendarComponent& each : task.components()) {
        if (!each.recurrenceId || each.status != "COMPLETED") continue;
        facts.reference = dateTimeFromWall(each.recurrenceId->wall);
        facts.occurrences.push_back(facts.reference);
    }
    return facts;
}

std::optional<ItemFacts> objectFacts(ItemKind kind, std::string_view text, std::string& problem) {
    const auto object = CalendarObject::parse(kind, text, problem);
    if (!object) return std::nullopt;
    ItemFacts facts = kind == ItemKind::kEvent ? eventFacts(*object) : taskFacts(*object);
    facts.uid = object->uid();
    return facts;
}

std::optional<ItemFacts> cardFacts(std::string_view text, std::string& problem) {
    const auto card = VCard::parse(text, problem);
    if (!card) return std::nullopt;
    ItemFacts facts;
    facts.uid = card->uid;
    return facts;
}

}  // namespace

size_t leadingComponent(const CalendarObject& object) {
    const CalendarComponent* master = object.master();
    if (master == nullptr) return 0;
    return static_cast<size_t>(master - object.components().data());
}

std::optional<ItemFacts> readItem(ItemKind kind, std::string_view text, std::string& problem) {
    if (text.size() > kLongestText) {
        problem = "the text is too long";
        return std::nullopt;
    }
    if (text.find('\0') != std::string_view::npos) {
        problem = "the text holds a NUL";
        return std::nullopt;
    }
    auto facts =
        kind == ItemKind::kContact ? cardFacts(text, problem) : objectFacts(kind, text, problem);
    if (facts) facts->wholeCharacters = hasWholeCharacters(text);
    return facts;
}

}  // namespace groupware
