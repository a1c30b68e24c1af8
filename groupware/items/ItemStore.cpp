#include "groupware/items/ItemStore.h"

#include <algorithm>

#include "groupware/items/ItemChanges.h"
#include "groupware/items/ItemRecord.h"

namespace groupware {

namespace {

/// The steps that the recurring items of one query may cost together; when they are used up, each
/// further one gets the least.
constexpr int64_t kQuerySteps = 20'000'000;
constexpr int64_t kLeastSteps = 1'000;

ContentsPointer contents(ItemKind kind, FolderKey folder, ItemRow row,
                         std::shared_ptr<const ParsedText> parsed = nullptr) {
    return std::make_shared<const ItemContents>(
        ItemContents{kind, folder, std::move(row), std::move(parsed)});
}

NewItem newItem(const ParsedText& parsed, std::string_view uid, std::string_view identifier) {
    return {uid, parsed.text, identifier, parsed.facts.span};
}

/// Decides of stored events whether they occur in a range, within the steps of one query.
class RangeFilter {
  public:
    explicit RangeFilter(TimeRange range) : range_(range) {}

    bool holds(const StoredItem& item) {
        if (item.span.exact) return true;
        std::string problem;
        const auto event = CalendarObject::parse(ItemKind::kEvent, item.text, problem);
        // An event that cannot be read is nobody's to hide.
        if (!event) return true;
        const int64_t given = std::clamp(left_, kLeastSteps, kItemSteps);
        StepBudget budget(given);
        const bool occurs = occursIn(*event, range_, budget);
        left_ -= given - budget.left();
        return occurs;
    }

  private:
    TimeRange range_;
    int64_t left_ = kQuerySteps;
};

}  // namespace

std::optional<FolderRow> ItemStore::folderOf(std::string_view path) {
    auto folder = engine_.folderByDirectory(path);
    if (folder && folder->kind != kind_) return std::nullopt;
    return folder;
}

ContentsList ItemStore::everyItem(FolderKey folder) {
    std::vector<ItemRow> rows = engine_.database().items(folder);
    ContentsList list;
    list.reserve(rows.size());
    for (ItemRow& row : rows) list.push_back(contents(kind_, folder, std::move(row)));
    return list;
}

ContentsList ItemStore::itemsInRange(FolderKey folder, TimeRange range) {
    ContentsList list;
    RangeFilter filter(range);
    engine_.database().itemsInSpan(folder, range.fromMs, range.toMs, [&](StoredItem&& item) {
        if (filter.holds(item)) list.push_back(contents(kind_, folder, std::move(item.row)));
    });
    std::ranges::sort(list, {}, [](const ContentsPointer& each) { return each->row.number; });
    return list;
}

int32_t ItemStore::list(std::string_view path, StoreItem* records, uint32_t* count) {
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const std::string question = "all " + std::string(path);
    return handOutList(question, records, count, [&] { return everyItem(folder->key); });
}

int32_t ItemStore::listRange(std::string_view path, TimeRange range, StoreItem* records,
                             uint32_t* count) {
    if (range.fromMs == INT64_MIN && range.toMs == INT64_MAX) return list(path, records, count);
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const std::string question = std::to_string(range.fromMs) + " to " +
                                 std::to_string(range.toMs) + " " + std::string(path);
    return handOutList(question, records, count, [&] { return itemsInRange(folder->key, range); });
}

int32_t ItemStore::fill(StoreItem& record, FolderKey folder,
                        const std::optional<StoredItem>& stored) {
    if (!stored) return STORE_NOT_FOUND;
    std::string problem;
    auto facts = readItem(kind_, stored->text, problem);
    auto parsed = std::make_shared<const ParsedText>(
        ParsedText{stored->text, facts ? std::move(*facts) : ItemFacts{}});
    fillRecord(record, contents(kind_, folder, stored->row, std::move(parsed)));
    return STORE_OK;
}

int32_t ItemStore::get(std::string_view path, int64_t number, StoreItem& record) {
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    return fill(record, folder->key, engine_.database().item(folder->key, number));
}

int32_t ItemStore::getByIdentifier(std::string_view path, std::string_view identifier,
                                   StoreItem& record) {
    const auto folder = folderOf(path);
    if (!folder || identifier.empty()) return STORE_NOT_FOUND;
    return fill(record, folder->key, engine_.database().itemByIdentifier(folder->key, identifier));
}

std::optional<int64_t> ItemStore::numberOfUid(std::string_view path, std::string_view uid) {
    const auto folder = folderOf(path);
    if (!folder || uid.empty()) return std::nullopt;
    return engine_.database().itemNumber(folder->key, uid);
}

std::optional<std::string> ItemStore::identifierOfUid(std::string_view path, std::string_view uid) {
    const auto folder = folderOf(path);
    if (!folder || uid.empty()) return std::nullopt;
    const auto number = engine_.database().itemNumber(folder->key, uid);
    const auto stored = number ? engine_.database().item(folder->key, *number) : std::nullopt;
    if (!stored) return std::nullopt;
    return stored->row.identifier;
}

std::optional<int64_t> ItemStore::numberOfIdentifier(std::string_view path,
                                                     std::string_view identifier) {
    const auto folder = folderOf(path);
    if (!folder || identifier.empty()) return std::nullopt;
    const auto stored = engine_.database().itemByIdentifier(folder->key, identifier);
    if (!stored) return std::nullopt;
    return stored->row.number;
}

int32_t ItemStore::textOf(const StoreItem& record, std::string& text) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    if (own->parsed != nullptr) {
        text = own->parsed->text;
        return STORE_OK;
    }
    if (!own->folder) return STORE_BAD_DATA;
    auto stored = engine_.database().item(*own->folder, own->row.number);
    if (!stored) return STORE_NOT_FOUND;
    text = textForUid(*own, *stored);
    return STORE_OK;
}

int32_t ItemStore::read(std::string_view text, StoreItem& record) {
    std::string problem;
    auto facts = readItem(kind_, text, problem);
    if (!facts) return STORE_BAD_DATA;
    ItemContents fresh;
    fresh.kind = kind_;
    fresh.row.uid = facts->uid;
    fresh.parsed =
        std::make_shared<const ParsedText>(ParsedText{std::string(text), std::move(*facts)});
    fillRecord(record, std::make_shared<const ItemContents>(std::move(fresh)));
    return STORE_OK;
}

int32_t ItemStore::write(std::string_view path, StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_ || own->parsed == nullptr) return STORE_BAD_DATA;
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const std::string& uid = own->row.uid;
    // Nobody could ever name such a contact; a task gets a UID when it is first listed.
    if (uid.empty() && kind_ == ItemKind::kContact) return STORE_BAD_DATA;
    ItemRow row = place(folder->key, uid, *own->parsed);
    refreshRecord(record, contents(kind_, folder->key, std::move(row), own->parsed));
    return STORE_OK;
}

/// Stores a text under its UID, whether an item of that UID is there by now or not.
ItemRow ItemStore::place(FolderKey folder, const std::string& uid, const ParsedText& parsed) {
    const auto transaction = engine_.database().begin();
    const auto number =
        uid.empty() ? std::optional<int64_t>() : transaction->itemNumber(folder, uid);
    const auto stored = number ? transaction->item(folder, *number) : std::nullopt;
    if (stored && stored->text == parsed.text) return stored->row;
    const std::string identifier = stored ? stored->row.identifier : newIdentifier(kind_);
    const NewItem item = newItem(parsed, uid, identifier);
    ItemRow row = stored ? transaction->updateItem(folder, stored->row.number, item).value()
                         : transaction->insertItem(folder, item);
    commit(*transaction, folder);
    return row;
}

int32_t ItemStore::edit(std::string_view path, int64_t number, StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto stored = engine_.database().item(folder->key, number);
    // The record of a listing holds no text that could be stored again.
    if (!stored && own->parsed == nullptr) return STORE_NOT_FOUND;
    const auto parsed = own->parsed != nullptr ? withStatuses(record, own->parsed)
                                               : parsedText(kind_, textForUid(*own, *stored));
    if (parsed == nullptr) return STORE_BAD_DATA;
    ItemRow row;
    const int32_t status =
        stored ? replace(*folder, *stored, own->row.uid, *parsed, row) : STORE_NOT_FOUND;
    if (status == STORE_NOT_FOUND) {
        row = place(folder->key, own->row.uid, *parsed);
    } else if (status != STORE_OK) {
        return status;
    }
    refreshRecord(record, contents(kind_, folder->key, std::move(row), parsed));
    return STORE_OK;
}

int32_t ItemStore::setText(std::string_view path, int64_t number, std::string_view text) {
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto stored = engine_.database().item(folder->key, number);
    if (!stored || stored->text == text) return STORE_OK;
    const auto parsed = parsedText(kind_, std::string(text));
    if (parsed == nullptr) return STORE_BAD_DATA;
    // A contact is filed under the name that its client gave it, whatever its text says.
    const bool sameUid = kind_ == ItemKind::kContact || parsed->facts.uid == stored->row.uid;
    if (!sameUid) return STORE_BAD_DATA;
    ItemRow row;
    const int32_t status = replace(*folder, *stored, stored->row.uid, *parsed, row);
    return status == STORE_NOT_FOUND ? STORE_OK : status;
}

/// Stores a text in the place of another; what is there already is not stored again. Not found when
/// the other is there no more.
int32_t ItemStore::replace(const FolderRow& folder, const StoredItem& stored,
                           const std::string& uid, const ParsedText& parsed, ItemRow& row) {
    row = stored.row;
    if (parsed.text == stored.text && uid == stored.row.uid) return STORE_OK;
    const auto transaction = engine_.database().begin();
    if (uid != stored.row.uid && !uid.empty() && transaction->itemNumber(folder.key, uid)) {
        return STORE_EXISTS;
    }
    const auto updated = transaction->updateItem(folder.key, stored.row.number,
                                                 newItem(parsed, uid, stored.row.identifier));
    if (!updated) return STORE_NOT_FOUND;
    commit(*transaction, folder.key);
    row = *updated;
    return STORE_OK;
}

int32_t ItemStore::remove(std::string_view path, int64_t number) {
    const auto folder = folderOf(path);
    if (!folder) return STORE_NOT_FOUND;
    const auto transaction = engine_.database().begin();
    if (transaction->deleteItem(folder->key, number)) commit(*transaction, folder->key);
    return STORE_OK;
}

void ItemStore::commit(WriteTransaction& transaction, FolderKey folder) {
    transaction.commit();
    mirrorAfterCommit(engine_, folder.account);
}

void ItemStore::setUid(StoreItem& record, std::string_view uid) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_ || !isGoodUid(uid)) return;
    ItemContents fresh = *own;
    fresh.row.uid = uid;
    if (kind_ == ItemKind::kTask && own->parsed != nullptr) {
        fresh.parsed = parsedText(kind_, withUid(kind_, own->parsed->text, uid));
    }
    refreshRecord(record, std::make_shared<const ItemContents>(std::move(fresh)));
}

int32_t ItemStore::completeOccurrence(StoreItem& record) {
    const ContentsPointer own = contentsOf(record);
    if (own == nullptr || own->kind != kind_) return STORE_BAD_DATA;
    std::string text;
    if (const int32_t status = textOf(record, text); status != STORE_OK) return status;
    const auto completed = withOccurrenceCompleted(text, record.reference);
    if (!completed) return STORE_NOT_FOUND;
    if (*completed == text) return STORE_OK;
    ItemContents fresh = *own;
    fresh.parsed = parsedText(kind_, *completed);
    if (fresh.parsed == nullptr) return STORE_BAD_DATA;
    refreshRecord(record, std::make_shared<const ItemContents>(std::move(fresh)));
    return STORE_OK;
}

}  // namespace groupware
