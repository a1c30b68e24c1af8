#include "groupware/items/ItemStore.h"

#include <algorithm>

#include "groupware/items/ItemChanges.h"
#include "groupware/items/ItemRecord.h"
#include "groupware/items/RangeFilter.h"

namespace groupware {

namespace {

ContentsPointer contents(ItemKind kind, std::optional<FolderKey> folder, ItemRow row,
                         ParsedPointer parsed) {
    return ContentsPointer(new ItemContents(kind, folder, std::move(row), std::move(parsed)));
}

NewItem newItem(const ParsedText& parsed, std::string_view uid, std::string_view identifier) {
    return {uid, parsed.text, identifier, parsed.facts.span};
}

}  // namespace

std::optional<FolderRow> ItemStore::folderAt(std::string_view path) {
    auto folder = engine_.folderByDirectory(path);
    if (folder && folder->kind != kind_) return std::nullopt;
    return folder;
}

/// Null when the path names no folder of the kind.
SnapshotPointer ItemStore::contentsAt(std::string_view path) {
    const auto folder = folderAt(path);
    return folder ? engine_.snapshots().contentsOf(*folder) : nullptr;
}

int32_t ItemStore::list(std::string_view path, StoreItem* records, uint32_t* count) {
    const SnapshotPointer contents = contentsAt(path);
    if (!contents) return STORE_NOT_FOUND;
    return handOutList("all " + std::string(path), records, count, [&] {
        return FoundItems{contents, std::nullopt};
    });
}

int32_t ItemStore::listRange(std::string_view path, TimeRange range, StoreItem* records,
                             uint32_t* count) {
    if (range.fromMs == INT64_MIN && range.toMs == INT64_MAX) return list(path, records, count);
    const SnapshotPointer contents = contentsAt(path);
    if (!contents) return STORE_NOT_FOUND;
    const std::string question = std::to_string(range.fromMs) + " to " +
                                 std::to_string(range.toMs) + " " + std::string(path);
    return handOutList(question, records, count, [&] {
        std::vector<const FolderItem*> items;
        RangeFilter filter(engine_.snapshots(), range);
        contents->eachTouching(range, [&](const FolderItem& item) {
            if (filter.holds(item)) items.push_back(&item);
        });
        std::ranges::sort(items, {}, [](const auto* item) { return item->row.number; });
        return FoundItems{contents, std::move(items)};
    });
}

int32_t ItemStore::fill(StoreItem& record, const FolderItem* item) {
    const ParsedPointer parsed = item ? engine_.snapshots().textOf(*item) : nullptr;
    if (!parsed) return STORE_NOT_FOUND;
    forgetOldList();
    fillRecord(record, contents(kind_, *item->folder, item->row, parsed));
    return STORE_OK;
}

int32_t ItemStore::get(std::string_view path, int64_t number, StoreItem& record) {
    const SnapshotPointer contents = contentsAt(path);
    return contents ? fill(record, contents->item(number)) : STORE_NOT_FOUND;
}

int32_t ItemStore::getByIdentifier(std::string_view path, std::string_view identifier,
                                   StoreItem& record) {
    const SnapshotPointer contents = contentsAt(path);
    return contents ? fill(record, contents->itemOfIdentifier(identifier)) : STORE_NOT_FOUND;
}

std::optional<int64_t> ItemStore::numberOfUid(std::string_view path, std::string_view uid) {
    const SnapshotPointer contents = contentsAt(path);
    const FolderItem* item = contents ? contents->itemOfUid(uid) : nullptr;
    if (!item) return std::nullopt;
    return item->row.number;
}

std::optional<std::string> ItemStore::identifierOfUid(std::string_view path, std::string_view uid) {
    const SnapshotPointer contents = contentsAt(path);
    const FolderItem* item = contents ? contents->itemOfUid(uid) : nullptr;
    if (!item) return std::nullopt;
    return item->row.identifier;
}

std::optional<int64_t> ItemStore::numberOfIdentifier(std::string_view path,
                                                     std::string_view identifier) {
    const SnapshotPointer contents = contentsAt(path);
    const FolderItem* item = contents ? contents->itemOfIdentifier(identifier) : nullptr;
    if (!item) return std::nullopt;
    return item->row.number;
}

int32_t ItemStore::textOf(const StoreItem& record, ParsedPointer& text) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    text = own->parsed;
    if (const FolderItem* item = own->folderItem()) {
        text = engine_.snapshots().textOf(*item);
        if (!text) return STORE_NOT_FOUND;
    }
    if (text) return STORE_OK;
    if (!own->folder) return STORE_BAD_DATA;
    // The record was given another UID since it was listed.
    const auto stored = engine_.database().item(*own->folder, own->row.number);
    if (!stored) return STORE_NOT_FOUND;
    text = std::make_shared<const ParsedText>(ParsedText{textForUid(*own, *stored), {}});
    return STORE_OK;
}

int32_t ItemStore::read(std::string_view text, StoreItem& record) {
    std::string problem;
    auto facts = readItem(kind_, text, problem);
    if (!facts) return STORE_BAD_DATA;
    ItemRow row;
    row.uid = facts->uid;
    auto parsed =
        std::make_shared<const ParsedText>(ParsedText{std::string(text), std::move(*facts)});
    fillRecord(record, contents(kind_, std::nullopt, std::move(row), std::move(parsed)));
    return STORE_OK;
}

int32_t ItemStore::write(std::string_view path, StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_ || own->parsed == nullptr) return STORE_BAD_DATA;
    const auto folder = folderAt(path);
    if (!folder) return STORE_NOT_FOUND;
    const std::string& uid = own->row.uid;
    // Nobody could ever name such a contact; a task gets a UID when it is first listed.
    if (uid.empty() && kind_ == ItemKind::kContact) return STORE_BAD_DATA;
    ItemRow row = place(*folder, uid, own->parsed);
    refreshRecord(record, contents(kind_, folder->key, std::move(row), own->parsed));
    return STORE_OK;
}

/// Stores a text under its UID, whether an item of that UID is there by now or not.
ItemRow ItemStore::place(const FolderRow& folder, const std::string& uid,
                         const ParsedPointer& parsed) {
    const auto transaction = engine_.database().beginGrouped();
    const auto number =
        uid.empty() ? std::optional<int64_t>() : transaction->itemNumber(folder.key, uid);
    const auto stored = number ? transaction->item(folder.key, *number) : std::nullopt;
    if (stored && stored->text == parsed->text) {
        transaction->commit();
        return stored->row;
    }
    const std::string identifier = stored ? stored->row.identifier : newIdentifier(kind_);
    const NewItem item = newItem(*parsed, uid, identifier);
    const ItemChange change =
        stored ? transaction->updateItem(folder.key, stored->row.number, item).value()
               : transaction->insertItem(folder.key, item);
    commit(*transaction, folder, change.step, {{change, item.span}}, {});
    remember(folder, change, parsed);
    return change;
}

int32_t ItemStore::edit(std::string_view path, int64_t number, StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    const auto folder = folderAt(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto stored = storedItem(*folder, number);
    // The record of a listing holds no text that could be stored again.
    if (!stored && own->parsed == nullptr) return STORE_NOT_FOUND;
    const auto parsed = own->parsed != nullptr ? withStatuses(record, own->parsed)
                                               : parsedText(kind_, textForUid(*own, *stored));
    if (parsed == nullptr) return STORE_BAD_DATA;
    ItemRow row;
    const int32_t status =
        stored ? replace(*folder, *stored, own->row.uid, parsed, row) : STORE_NOT_FOUND;
    if (status == STORE_NOT_FOUND) {
        row = place(*folder, own->row.uid, parsed);
    } else if (status != STORE_OK) {
        return status;
    }
    refreshRecord(record, contents(kind_, folder->key, std::move(row), parsed));
    return STORE_OK;
}

int32_t ItemStore::setText(std::string_view path, int64_t number, std::string_view text) {
    const auto folder = folderAt(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto stored = storedItem(*folder, number);
    if (!stored || stored->text == text) return STORE_OK;
    const auto parsed = parsedText(kind_, std::string(text));
    if (parsed == nullptr) return STORE_BAD_DATA;
    // A contact is filed under the name that its client gave it, whatever its text says.
    const bool sameUid = kind_ == ItemKind::kContact || parsed->facts.uid == stored->row.uid;
    if (!sameUid) return STORE_BAD_DATA;
    ItemRow row;
    const int32_t status = replace(*folder, *stored, stored->row.uid, parsed, row);
    return status == STORE_NOT_FOUND ? STORE_OK : status;
}

/// Stores a text in the place of another; what is there already is not stored again. Not found when
/// the other is there no more.
int32_t ItemStore::replace(const FolderRow& folder, const StoredItem& stored,
                           const std::string& uid, const ParsedPointer& parsed, ItemRow& row) {
    row = stored.row;
    if (parsed->text == stored.text && uid == stored.row.uid) return STORE_OK;
    const auto transaction = engine_.database().beginGrouped();
    if (uid != stored.row.uid && !uid.empty() && transaction->itemNumber(folder.key, uid)) {
        return STORE_EXISTS;
    }
    const NewItem item = newItem(*parsed, uid, stored.row.identifier);
    const auto updated = transaction->updateItem(folder.key, stored.row.number, item);
    if (!updated) {
        transaction->commit();
        return STORE_NOT_FOUND;
    }
    commit(*transaction, folder, updated->step, {{*updated, item.span}}, {});
    row = *updated;
    remember(folder, row, parsed);
    return STORE_OK;
}

int32_t ItemStore::remove(std::string_view path, int64_t number) {
    const auto folder = folderAt(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto transaction = engine_.database().beginGrouped();
    if (const auto step = transaction->deleteItem(folder->key, number)) {
        commit(*transaction, *folder, *step, {}, {number});
    } else {
        transaction->commit();
    }
    return STORE_OK;
}

/// Commits what has led the folder this one step.
void ItemStore::commit(WriteTransaction& transaction, const FolderRow& folder,
                       const FolderStep& step, std::vector<ItemHead> changed,
                       std::vector<int64_t> deleted) {
    transaction.commit();
    engine_.snapshots().follow(folder.key, step.before,
                               {step.after, false, std::move(changed), std::move(deleted)});
    mirrorAfterCommit(engine_, folder.key.account);
}

std::optional<StoredItem> ItemStore::storedItem(const FolderRow& folder, int64_t number) {
    const SnapshotPointer contents = engine_.snapshots().contentsOf(folder);
    const FolderItem* item = contents->item(number);
    if (!item) return std::nullopt;
    if (const ParsedPointer* known = item->text.get()) {
        return StoredItem{item->row, item->span, (*known)->text};
    }
    return engine_.database().item(folder.key, number);
}

/// What has just been stored need not be read again.
void ItemStore::remember(FolderRow folder, const ItemRow& row, const ParsedPointer& parsed) {
    folder.stampMs = row.modifiedMs;
    engine_.snapshots().remember(folder, row, parsed);
}

void ItemStore::setUid(StoreItem& record, std::string_view uid) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_ || !isGoodUid(uid)) return;
    ItemRow row = own->row;
    row.uid = uid;
    ParsedPointer parsed = own->parsed;
    if (kind_ == ItemKind::kTask && parsed != nullptr) {
        parsed = parsedText(kind_, withUid(kind_, parsed->text, uid));
    }
    refreshRecord(record, contents(kind_, own->folder, std::move(row), std::move(parsed)));
}

int32_t ItemStore::completeOccurrence(StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    ParsedPointer former;
    if (const int32_t status = textOf(record, former); status != STORE_OK) return status;
    auto completed = withOccurrenceCompleted(former->text, record.reference);
    if (!completed) return STORE_NOT_FOUND;
    if (*completed == former->text) return STORE_OK;
    auto parsed = parsedText(kind_, std::move(*completed));
    if (parsed == nullptr) return STORE_BAD_DATA;
    refreshRecord(record, contents(kind_, own->folder, own->row, std::move(parsed)));
    return STORE_OK;
}

}  // namespace groupware
