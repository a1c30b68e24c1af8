// Hands out lists of records in two calls: the first may only tell how many there are.
//
// Writers do not wait between the two calls, so the list that the first call found is kept for the
// second one of the same thread: then the number told is the number needed, and the two agree.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "groupware/items/FolderSnapshot.h"
#include "groupware/items/ItemRecord.h"

namespace groupware {

/// Items of a folder, and the snapshot that they live in.
struct FoundItems {
    SnapshotPointer contents;
    std::optional<std::vector<const FolderItem*>> some;  ///< nothing when it is all of them

    size_t size() const { return some ? some->size() : contents->size(); }
};

/// Fills the caller's records with what is found, or tells how many it takes. The question names
/// what is asked for. STORE_OK or STORE_MORE_ROOM.
int32_t handOutList(const std::string& question, StoreItem* records, uint32_t* count,
                    const std::function<FoundItems()>& find);

/// Lets go of a list of this thread that was not fetched in time, for it holds the folder's memory.
void forgetOldList();

}  // namespace groupware
