// An item of a folder as one or several snapshots of the folder hold it.
//
// Its row never changes; what costs a look into its text is found out once and then stays with it.
// Safe from every thread.
#pragma once

#include "groupware/items/ItemContents.h"
#include "groupware/items/MemoryUse.h"
#include "groupware/items/OccurrenceMemory.h"
#include "groupware/items/Remembered.h"

namespace groupware {

struct FolderItem : ItemContents {
    FolderItem(ItemKind ofKind, FolderKey in, ItemHead head, std::shared_ptr<MemoryUse> use);

    const FolderItem* folderItem() const override { return this; }
    void remember(ParsedPointer itsText) const;

    ItemSpan span;
    Remembered<ParsedPointer> text;
    OccurrenceMemory occurrences;
    MemoryShare memory;
};

}  // namespace groupware
