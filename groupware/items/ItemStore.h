// The item operations of the three kinds, over one engine: listing, reading, writing, deleting.
//
// The library's C operations are thin layers over this. Statuses are those of abi/StoreTypes.h; a
// failing database raises DatabaseError. A folder path that names no folder of the kind is
// STORE_NOT_FOUND. Safe from every thread, each with records of its own.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "abi/StoreTypes.h"
#include "groupware/engine/Engine.h"
#include "groupware/ical/Occurrences.h"
#include "groupware/items/Listing.h"
#include "groupware/items/SnapshotCache.h"

namespace groupware {

class ItemStore {
  public:
    ItemStore(Engine& engine, ItemKind kind) : engine_(engine), kind_(kind) {}

    int32_t list(std::string_view path, StoreItem* records, uint32_t* count);
    /// Events with an occurrence in the range.
    int32_t listRange(std::string_view path, TimeRange range, StoreItem* records, uint32_t* count);
    int32_t get(std::string_view path, int64_t number, StoreItem& record);
    int32_t getByIdentifier(std::string_view path, std::string_view identifier, StoreItem& record);
    std::optional<int64_t> numberOfUid(std::string_view path, std::string_view uid);
    std::optional<std::string> identifierOfUid(std::string_view path, std::string_view uid);
    std::optional<int64_t> numberOfIdentifier(std::string_view path, std::string_view identifier);

    /// The item's text as its client gave it; what was read in it may be missing.
    int32_t textOf(const StoreItem& record, ParsedPointer& text);
    /// Reads a client's text into the record; nothing is stored.
    int32_t read(std::string_view text, StoreItem& record);

    /// Adds an item, or replaces the one that another client has stored under the UID meanwhile.
    int32_t write(std::string_view path, StoreItem& record);
    /// An item that another client has deleted meanwhile is added again, under a new number.
    int32_t edit(std::string_view path, int64_t number, StoreItem& record);
    /// An item that is not there any more is as good as deleted.
    int32_t remove(std::string_view path, int64_t number);
    /// Stores the client's own text of an item; the same text again changes nothing, nor does the
    /// text of an item that another client has deleted meanwhile.
    int32_t setText(std::string_view path, int64_t number, std::string_view text);

    /// Files the record under another UID; a later edit stores that.
    void setUid(StoreItem& record, std::string_view uid);
    /// Completes the occurrence of a task that the record's reference names.
    int32_t completeOccurrence(StoreItem& record);

  private:
    std::optional<FolderRow> folderAt(std::string_view path);
    SnapshotPointer contentsAt(std::string_view path);
    int32_t fill(StoreItem& record, const FolderItem* item);
    std::optional<StoredItem> storedItem(const FolderRow& folder, int64_t number);
    ItemRow place(const FolderRow& folder, const std::string& uid, const ParsedPointer& parsed);
    int32_t replace(const FolderRow& folder, const StoredItem& stored, const std::string& uid,
                    const ParsedPointer& parsed, ItemRow& row);
    void commit(WriteTransaction& transaction, const FolderRow& folder, const FolderStep& step,
                std::vector<ItemHead> changed, std::vector<int64_t> deleted);
    void remember(FolderRow folder, const ItemRow& row, const ParsedPointer& parsed);

    Engine& engine_;
    ItemKind kind_;
};

}  // namespace groupware
