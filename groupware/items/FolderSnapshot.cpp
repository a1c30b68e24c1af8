#include "groupware/items/FolderSnapshot.h"

namespace groupware {

FolderSnapshot FolderSnapshot::with(FolderChanges&& changes,
                                    const std::shared_ptr<MemoryUse>& use) const {
    if (changes.whole) {
        FolderSnapshot whole(kind_, folder_);
        whole.fill(std::move(changes), use);
        return whole;
    }
    FolderSnapshot next(*this);
    next.state_ = changes.now;
    // First all that goes: a new item may have the UID of one that is deleted.
    for (const int64_t number : changes.deleted) next.erase(number);
    for (const ItemHead& head : changes.changed) next.erase(head.row.number);
    for (ItemHead& head : changes.changed) {
        next.insert(Owner(new FolderItem(kind_, folder_, std::move(head), use)));
    }
    return next;
}

void FolderSnapshot::fill(FolderChanges&& changes, const std::shared_ptr<MemoryUse>& use) {
    std::vector<Owner> items;
    std::vector<const FolderItem*> all;
    std::vector<const FolderItem*> withUid;
    std::vector<const FolderItem*> withIdentifier;
    items.reserve(changes.changed.size());
    all.reserve(changes.changed.size());
    withUid.reserve(changes.changed.size());
    for (ItemHead& head : changes.changed) {
        items.push_back(Owner(new FolderItem(kind_, folder_, std::move(head), use)));
        const FolderItem* item = items.back().get();
        all.push_back(item);
        if (!item->row.uid.empty()) withUid.push_back(item);
        if (!item->row.identifier.empty()) withIdentifier.push_back(item);
    }
    state_ = changes.now;
    size_ = items.size();
    items_ = SortedChunks<Owner, Number>(std::move(items));
    byUid_ = SortedChunks<const FolderItem*, Uid>(std::move(withUid));
    byIdentifier_ = SortedChunks<const FolderItem*, Identifier>(std::move(withIdentifier));
    if (kind_ == ItemKind::kEvent) spans_ = SpanIndex(all);
}

void FolderSnapshot::insert(Owner owner) {
    const FolderItem* item = owner.get();
    items_.insert(std::move(owner));
    ++size_;
    if (!item->row.uid.empty()) byUid_.insert(item);
    if (!item->row.identifier.empty()) byIdentifier_.insert(item);
    if (kind_ == ItemKind::kEvent) spans_.insert(*item);
}

void FolderSnapshot::erase(int64_t number) {
    const Owner* owner = items_.find(number);
    if (owner == nullptr) return;
    const Owner item = *owner;  // needed until it is in no list any more
    if (!item->row.uid.empty()) byUid_.erase(std::string_view(item->row.uid));
    if (!item->row.identifier.empty()) byIdentifier_.erase(std::string_view(item->row.identifier));
    if (kind_ == ItemKind::kEvent) spans_.erase(*item);
    items_.erase(number);
    --size_;
}

const FolderItem* FolderSnapshot::item(int64_t number) const {
    const Owner* found = items_.find(number);
    return found ? found->get() : nullptr;
}

const FolderItem* FolderSnapshot::itemOfUid(std::string_view uid) const {
    const auto* found = byUid_.find(uid);
    return found ? *found : nullptr;
}

const FolderItem* FolderSnapshot::itemOfIdentifier(std::string_view identifier) const {
    const auto* found = byIdentifier_.find(identifier);
    return found ? *found : nullptr;
}

}  // namespace groupware
