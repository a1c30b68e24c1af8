#include "groupware/items/ItemChanges.h"

#include <array>
#include <bit>
#include <cstdio>

#include "groupware/engine/FailureLog.h"
#include "platform/Guid.h"

namespace groupware {

namespace {

/// By the numbers of the statuses.
constexpr std::array<std::string_view, 5> kParticipation = {"NEEDS-ACTION", "ACCEPTED", "TENTATIVE",
                                                            "DECLINED", "NEEDS-ACTION"};

bool sayTheSame(uint16_t a, uint16_t b) {
    return a < kParticipation.size() && b < kParticipation.size() &&
           kParticipation[a] == kParticipation[b];
}

}  // namespace

ParsedPointer parsedText(ItemKind kind, std::string text) {
    std::string problem;
    auto facts = readItem(kind, text, problem);
    if (!facts) return nullptr;
    return std::make_shared<const ParsedText>(ParsedText{std::move(text), std::move(*facts)});
}

std::string textForUid(const ItemContents& contents, const StoredItem& stored) {
    if (contents.row.uid == stored.row.uid) return stored.text;
    return withUid(contents.kind, stored.text, contents.row.uid);
}

ParsedPointer withStatuses(const StoreItem& record, ParsedPointer parsed) {
    const auto& attendees = parsed->facts.attendees;
    if (attendees.size() != record.attendeeCount) return parsed;
    std::string text = parsed->text;
    std::string problem;
    std::optional<CalendarObject> event;
    for (size_t i = 0; i < attendees.size(); ++i) {
        const uint16_t status = record.attendees[i].status;
        if (status >= kParticipation.size() || sayTheSame(status, attendees[i].status)) continue;
        if (!event) event = CalendarObject::parse(ItemKind::kEvent, text, problem);
        if (!event) return parsed;
        text = withParticipation(text, leadingComponent(*event), attendees[i].address,
                                 kParticipation[status]);
    }
    if (text == parsed->text) return parsed;
    return parsedText(ItemKind::kEvent, std::move(text));
}

std::optional<std::string> withOccurrenceCompleted(std::string_view text,
                                                   const StoreDateTime& occurrence) {
    std::string problem;
    const auto task = CalendarObject::parse(ItemKind::kTask, text, problem);
    if (!task) return std::nullopt;
    auto wanted = std::bit_cast<platform::DateTime>(occurrence);
    wanted.milliseconds = 0;
    const int64_t wall = platform::msFromUtc(wanted) / 1000;
    const bool alone = task->components().size() == 1 && task->components()[0].rules.empty();
    for (size_t i = 0; i < task->components().size(); ++i) {
        const CalendarComponent& component = task->components()[i];
        if (!alone && (!component.recurrenceId || component.recurrenceId->wall != wall)) continue;
        if (component.status == "COMPLETED") return std::string(text);
        return withCompletion(text, i, platform::utcFromMs(platform::nowUtcMs()));
    }
    return std::nullopt;
}

std::string newIdentifier(ItemKind kind) {
    if (kind != ItemKind::kContact) return {};
    const platform::Guid guid = platform::newGuid();
    std::array<char, 40> text{};
    int length = std::snprintf(text.data(), text.size(), "%08x%04x%04x", guid.data1,
                               unsigned{guid.data2}, unsigned{guid.data3});
    for (const uint8_t byte : guid.data4) {
        const auto at = static_cast<size_t>(length);
        length += std::snprintf(text.data() + at, text.size() - at, "%02x", unsigned{byte});
    }
    return text.data();
}

void mirrorAfterCommit(Engine& engine, int64_t account) {
    try {
        engine.followChanges(account);
    } catch (const std::exception& failure) {
        tellFailure(failure.what());
    }
}

}  // namespace groupware
