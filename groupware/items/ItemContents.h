// What stands behind a record of the store operations: immutable, shared by all its copies.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "groupware/db/Database.h"
#include "groupware/items/Counted.h"
#include "groupware/items/ItemText.h"
#include "platform/LocalTime.h"

namespace groupware {

struct FolderItem;

/// An item's text and what was read in it.
struct ParsedText {
    std::string text;
    ItemFacts facts;
};

using ParsedPointer = std::shared_ptr<const ParsedText>;

struct ItemContents : Counted {
    ItemContents() = default;
    ItemContents(ItemKind ofKind, std::optional<FolderKey> in, ItemRow itsRow, ParsedPointer text)
        : kind(ofKind), folder(in), row(std::move(itsRow)), parsed(std::move(text)) {
        if (row.modifiedMs != 0) modified = platform::utcFromMs(row.modifiedMs);
    }
    virtual ~ItemContents() = default;

    /// Null for contents of a record's own.
    virtual const FolderItem* folderItem() const { return nullptr; }

    ItemKind kind = ItemKind::kEvent;
    std::optional<FolderKey> folder;  ///< where the item is stored; nothing for a client's new text
    ItemRow row;                      ///< its UID is the one that the record shows and Edit files
    platform::DateTime modified;      ///< the row's, as records show it; all zero for a new text
    ParsedPointer parsed;             ///< null in a listing: the text is fetched when asked
};

using ContentsPointer = Reference<ItemContents>;

}  // namespace groupware
