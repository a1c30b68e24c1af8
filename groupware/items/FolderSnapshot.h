// The contents of a folder at one moment, without texts, shared by all who read.
//
// Immutable; the next state is made from it by what has changed and shares the rest with it. Safe
// from every thread.
#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "groupware/items/FolderItem.h"
#include "groupware/items/SortedChunks.h"
#include "groupware/items/SpanIndex.h"

namespace groupware {

class FolderSnapshot {
  public:
    /// An empty folder of which nothing is known.
    FolderSnapshot(ItemKind kind, FolderKey folder) : kind_(kind), folder_(folder) {}

    /// The state that the changes lead to.
    FolderSnapshot with(FolderChanges&& changes, const std::shared_ptr<MemoryUse>& use) const;

    FolderKey folder() const { return folder_; }
    const FolderState& state() const { return state_; }
    size_t size() const { return size_; }

    /// In the order of their numbers.
    template <typename Visit>
    void each(Visit visit) const {
        items_.each(visit);
    }
    /// In no order.
    void eachTouching(TimeRange range, const std::function<void(const FolderItem&)>& visit) const {
        spans_.eachTouching(range, visit);
    }
    /// Null when there is no such item; it lives as long as the snapshot, or whoever holds it.
    const FolderItem* item(int64_t number) const;
    const FolderItem* itemOfUid(std::string_view uid) const;
    const FolderItem* itemOfIdentifier(std::string_view identifier) const;

  private:
    using Owner = Reference<FolderItem>;
    struct Number {
        int64_t operator()(const Owner& item) const { return item->row.number; }
    };
    struct Uid {
        std::string_view operator()(const FolderItem* item) const { return item->row.uid; }
    };
    struct Identifier {
        std::string_view operator()(const FolderItem* item) const { return item->row.identifier; }
    };

    void fill(FolderChanges&& changes, const std::shared_ptr<MemoryUse>& use);
    void insert(Owner item);
    void erase(int64_t number);

    ItemKind kind_;
    FolderKey folder_;
    FolderState state_;
    size_t size_ = 0;
    SortedChunks<Owner, Number> items_;
    SortedChunks<const FolderItem*, Uid> byUid_;                ///< those that have one
    SortedChunks<const FolderItem*, Identifier> byIdentifier_;  ///< likewise
    SpanIndex spans_;                                           ///< of events
};

using SnapshotPointer = std::shared_ptr<const FolderSnapshot>;

}  // namespace groupware
