// What stands behind a record of the store operations: immutable, shared by all its copies.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "groupware/db/Database.h"
#include "groupware/items/ItemText.h"

namespace groupware {

/// An item's text and what was read in it.
struct ParsedText {
    std::string text;
    ItemFacts facts;
};

struct ItemContents {
    ItemKind kind = ItemKind::kEvent;
    std::optional<FolderKey> folder;  ///< where the item is stored; nothing for a client's new text
    ItemRow row;                      ///< its UID is the one that the record shows and Edit files
    std::shared_ptr<const ParsedText>
        parsed;  ///< null in a listing: the text is fetched when asked
};

using ContentsPointer = std::shared_ptr<const ItemContents>;

}  // namespace groupware
