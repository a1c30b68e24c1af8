// Filling, copying and releasing the records that callers of the store operations hold.
//
// A record's texts belong to its contents, its attendee and occurrence arrays to itself, since
// callers may change an attendee's status there. A copy shares the contents. Each record is used by
// one thread at a time; contents may be shared between threads.
#pragma once

#include <cstring>

#include "abi/StoreTypes.h"
#include "groupware/items/ItemContents.h"

namespace groupware {

/// Prepares a record, whatever its memory held.
inline void initRecord(StoreItem& record) {
    // A listing prepares thousands: assigned, each would be cleared by a slow repeated instruction.
    static constexpr StoreItem kEmpty{};
    std::memcpy(&record, &kEmpty, sizeof record);
}
/// Releases what the record holds and prepares it anew.
inline void freeRecord(StoreItem& record) noexcept {
    delete[] record.attendees;
    delete[] record.occurrences;
    ContentsPointer::adopt(static_cast<const ItemContents*>(record.contents));
    initRecord(record);
}
void copyRecord(StoreItem& to, const StoreItem& from);
/// Gives the record new contents in place of what it held; its export flag stays.
void fillRecord(StoreItem& record, ContentsPointer contents);
/// The same, but attendees' statuses that the caller has set in the record stay.
void refreshRecord(StoreItem& record, ContentsPointer contents);
/// Null for a record that was only prepared.
ContentsPointer contentsOf(const StoreItem& record);

}  // namespace groupware
