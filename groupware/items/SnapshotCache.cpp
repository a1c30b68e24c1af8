#include "groupware/items/SnapshotCache.h"

namespace groupware {

SnapshotPointer SnapshotCache::contentsOf(const FolderRow& folder) {
    const PlacePointer place = placeOf(folder.key);
    const auto isGood = [&](const SnapshotPointer& snapshot) {
        return snapshot && snapshot->state().stampMs >= folder.stampMs;
    };
    if (SnapshotPointer kept = snapshotAt(*place); isGood(kept)) {
        ++reused_;
        return kept;
    }

    ++read_;
    SnapshotPointer next;
    {
        const std::lock_guard loading(place->loading);
        SnapshotPointer former = snapshotAt(*place);
        if (isGood(former)) return former;
        if (!former) former = std::make_shared<const FolderSnapshot>(folder.kind, folder.key);
        auto changes = database_.changesSince(folder.key, former->state());
        if (!changes) return std::make_shared<const FolderSnapshot>(folder.kind, folder.key);
        next = std::make_shared<const FolderSnapshot>(former->with(std::move(*changes), use_));
        const std::lock_guard lock(mutex_);
        place->snapshot = next;
    }
    giveUpOthers(mostBytes_());
    return next;
}

void SnapshotCache::follow(FolderKey folder, const FolderState& before, FolderChanges changes) {
    const PlacePointer place = placeOf(folder);
    const std::lock_guard loading(place->loading);
    const SnapshotPointer former = snapshotAt(*place);
    if (!former || former->state() != before) return;
    auto next = std::make_shared<const FolderSnapshot>(former->with(std::move(changes), use_));
    const std::lock_guard lock(mutex_);
    place->snapshot = std::move(next);
}

SnapshotCache::Figures SnapshotCache::figures() {
    const std::lock_guard lock(mutex_);
    return {places_.size(), bytes(), reused_, read_};
}

ParsedPointer SnapshotCache::textOf(const FolderItem& item) {
    if (const ParsedPointer* known = item.text.get()) return *known;
    auto stored = database_.item(*item.folder, item.row.number);
    if (!stored) return nullptr;
    std::string problem;
    auto facts = readItem(item.kind, stored->text, problem);
    auto parsed = std::make_shared<const ParsedText>(
        ParsedText{std::move(stored->text), facts ? std::move(*facts) : ItemFacts{}});
    if (stored->row.modifiedMs == item.row.modifiedMs) keepText(item, parsed);
    return parsed;
}

void SnapshotCache::remember(const FolderRow& folder, const ItemRow& row,
                             const ParsedPointer& parsed) {
    const SnapshotPointer contents = contentsOf(folder);
    const FolderItem* item = contents->item(row.number);
    if (item && item->row.modifiedMs == row.modifiedMs) keepText(*item, parsed);
}

void SnapshotCache::keepText(const FolderItem& item, const ParsedPointer& parsed) {
    const size_t bound = mostBytes_();
    giveUpOthers(bound);
    if (bytes() < bound) item.remember(parsed);
}

SnapshotCache::PlacePointer SnapshotCache::placeOf(FolderKey folder) {
    const std::lock_guard lock(mutex_);
    PlacePointer& place = places_[folder];
    if (place) {
        uses_.splice(uses_.begin(), uses_, place->use);
    } else {
        place = std::make_shared<Place>();
        uses_.push_front(folder);
        place->use = uses_.begin();
    }
    return place;
}

SnapshotPointer SnapshotCache::snapshotAt(const Place& place) {
    const std::lock_guard lock(mutex_);
    return place.snapshot;
}

void SnapshotCache::giveUpOthers(size_t bound) {
    while (bytes() > bound) {
        PlacePointer last;  // let go of outside the lock
        const std::lock_guard lock(mutex_);
        if (uses_.size() < 2) return;
        const auto found = places_.find(uses_.back());
        last = std::move(found->second);
        places_.erase(found);
        uses_.pop_back();
    }
}

}  // namespace groupware
