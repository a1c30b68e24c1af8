// Keeps the contents of folders in memory, for all who read them.
//
// A folder's snapshot is as good as the folder's stamp: whoever asks has the folder as the database
// has it now, and gets contents that are no older. What has changed since the kept ones, in
// whatever process, is read from the database and makes the next ones; those who read the former
// ones are not disturbed. Beyond its bound in bytes the cache gives up the folders that were not
// asked for the longest time, and keeps no more texts of the one in use. Safe from every thread;
// raises DatabaseError.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>

#include "groupware/db/Database.h"
#include "groupware/items/FolderSnapshot.h"

namespace groupware {

class SnapshotCache {
  public:
    /// The bound is asked for whenever something is read from the database.
    SnapshotCache(Database& database, std::function<size_t()> mostBytes)
        : database_(database), mostBytes_(std::move(mostBytes)) {}

    /// Empty for a folder that has been removed meanwhile.
    SnapshotPointer contentsOf(const FolderRow& folder);
    /// The text of an item as it stands in the folder by now, the item's own as long as that is
    /// remembered; null when there is no such item any more.
    ParsedPointer textOf(const FolderItem& item);

    /// What has just been stored need not be read: the changes lead on from that state, if that is
    /// what is kept.
    void follow(FolderKey folder, const FolderState& before, FolderChanges changes);
    /// Keeps the text of an item of that row, which has just been stored in the folder.
    void remember(const FolderRow& folder, const ItemRow& row, const ParsedPointer& parsed);

    size_t bytes() const { return use_->bytes(); }

    struct Figures {
        uint64_t folders = 0;
        uint64_t bytes = 0;
        uint64_t reused = 0;
        uint64_t read = 0;
    };
    Figures figures();

  private:
    struct Place {
        std::mutex loading;  ///< held by whoever reads changes, for the others need them too
        SnapshotPointer snapshot;
        std::list<FolderKey>::iterator use;
    };
    using PlacePointer = std::shared_ptr<Place>;

    PlacePointer placeOf(FolderKey folder);
    SnapshotPointer snapshotAt(const Place& place);
    void keepText(const FolderItem& item, const ParsedPointer& parsed);
    void giveUpOthers(size_t bound);

    Database& database_;
    std::function<size_t()> mostBytes_;
    std::shared_ptr<MemoryUse> use_ = std::make_shared<MemoryUse>();
    std::mutex mutex_;  ///< of all below, and of the snapshots in places
    std::map<FolderKey, PlacePointer> places_;
    std::list<FolderKey> uses_;  ///< the latest first
    std::atomic<uint64_t> reused_{0};
    std::atomic<uint64_t> read_{0};
};

}  // namespace groupware
