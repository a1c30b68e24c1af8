// How rows of the tables become values: column lists and what reads them, side by side.
#pragma once

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"

namespace groupware {

#define GROUPWARE_ITEM_COLUMNS "item, modified, uid, identifier, first_start, last_end, exact"

inline ItemRow itemRowOf(const SqliteStatement& row) {
    return {row.integer(0), row.integer(1), row.text(2), row.text(3)};
}

inline ItemHead itemHeadOf(const SqliteStatement& row) {
    return {itemRowOf(row), {row.integer(4), row.integer(5), row.flag(6)}};
}

/// The text stands behind the item's columns.
inline StoredItem storedItemOf(const SqliteStatement& row) {
    auto [item, span] = itemHeadOf(row);
    return {std::move(item), span, row.text(7)};
}

/// A folder remembers the numbers of this many deleted items, each in the place of the one that was
/// deleted so many deletions earlier.
inline constexpr int64_t kDeletionsKept = 256;

inline constexpr const char* kItemByNumber =
    "SELECT " GROUPWARE_ITEM_COLUMNS ", text FROM item WHERE account=?1 AND folder=?2 AND item=?3";

inline constexpr const char* kItemNumberByUid =
    "SELECT item FROM item WHERE account=?1 AND folder=?2 AND uid=?3 AND uid<>''";

}  // namespace groupware
