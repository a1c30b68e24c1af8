#include "groupware/items/ItemRecord.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace groupware {

namespace {

template <typename Element>
Element* copied(const Element* elements, uint32_t count) {
    if (count == 0) return nullptr;
    auto copy = std::make_unique<Element[]>(count);
    std::copy_n(elements, count, copy.get());
    return copy.release();
}

const ItemContents* held(const StoreItem& record) {
    return static_cast<const ItemContents*>(record.contents);
}

/// The record keeps its contents until it is freed.
void hold(StoreItem& record, ContentsPointer contents) {
    record.contents = const_cast<ItemContents*>(contents.release());
}

void showFacts(StoreItem& record, const ItemFacts& facts) {
    record.organizer = facts.organizer.empty() ? nullptr : facts.organizer.c_str();
    record.reference = std::bit_cast<StoreDateTime>(facts.reference);
    if (!facts.attendees.empty()) {
        auto attendees = std::make_unique<StoreAttendee[]>(facts.attendees.size());
        std::ranges::transform(facts.attendees, attendees.get(), [](const CalendarUser& user) {
            return StoreAttendee{user.address.c_str(), user.status, user.serverSends};
        });
        record.attendees = attendees.release();
        record.attendeeCount = static_cast<uint32_t>(facts.attendees.size());
    }
    if (!facts.occurrences.empty()) {
        auto occurrences = std::make_unique<StoreTaskOccurrence[]>(facts.occurrences.size());
        std::ranges::transform(facts.occurrences, occurrences.get(),
                               [](const platform::DateTime& time) {
                                   return StoreTaskOccurrence{std::bit_cast<StoreDateTime>(time)};
                               });
        record.occurrences = occurrences.release();
        record.occurrenceCount = static_cast<uint32_t>(facts.occurrences.size());
    }
}

}  // namespace

void copyRecord(StoreItem& to, const StoreItem& from) {
    if (&to == &from) return;
    freeRecord(to);
    hold(to, contentsOf(from));
    to.attendees = copied(from.attendees, from.attendeeCount);
    to.attendeeCount = from.attendeeCount;
    to.occurrences = copied(from.occurrences, from.occurrenceCount);
    to.occurrenceCount = from.occurrenceCount;
    to.itemNumber = from.itemNumber;
    to.exportFlag = from.exportFlag;
    std::memcpy(to.identifier, from.identifier, sizeof to.identifier);
    to.lastModified = from.lastModified;
    to.uid = from.uid;
    to.organizer = from.organizer;
    to.reference = from.reference;
}

void fillRecord(StoreItem& record, ContentsPointer contents) {
    const ItemContents& own = *contents;
    const uint16_t exportFlag = record.exportFlag;
    if (record.contents != nullptr) freeRecord(record);  // most are fresh: those of a listing
    hold(record, std::move(contents));
    record.exportFlag = exportFlag;
    record.itemNumber = static_cast<uint32_t>(own.row.number);
    own.row.identifier.copy(record.identifier, sizeof record.identifier - 1);
    record.lastModified = std::bit_cast<StoreDateTime>(own.modified);
    record.uid = own.row.uid.c_str();
    if (own.parsed != nullptr) showFacts(record, own.parsed->facts);
}

void refreshRecord(StoreItem& record, ContentsPointer contents) {
    std::vector<uint16_t> statuses;
    for (uint32_t i = 0; i < record.attendeeCount; ++i) {
        statuses.push_back(record.attendees[i].status);
    }
    fillRecord(record, std::move(contents));
    if (statuses.size() != record.attendeeCount) return;
    for (uint32_t i = 0; i < record.attendeeCount; ++i) record.attendees[i].status = statuses[i];
}

ContentsPointer contentsOf(const StoreItem& record) {
    return ContentsPointer(held(record));
}

}  // namespace groupware
