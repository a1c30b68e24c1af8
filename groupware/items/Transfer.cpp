#include "groupware/items/Transfer.h"

#include <algorithm>

#include "groupware/ical/Occurrences.h"
#include "groupware/items/FolderText.h"
#include "groupware/items/ItemChanges.h"
#include "groupware/items/TextSplitter.h"
#include "groupware/items/ZoneAgreement.h"

namespace groupware {

namespace {

constexpr size_t kItemsPerTransaction = 200;
constexpr size_t kBytesPerTransaction = 8 * 1024 * 1024;

/// The text of an item with the UID that it goes by: a contact's client may have named it in the
/// URL alone, which nothing that is exported tells.
std::string namedText(ItemKind kind, const StoredItem& item) {
    if (kind != ItemKind::kContact || item.row.uid.empty()) return item.text;
    std::string problem;
    const auto facts = readItem(kind, item.text, problem);
    return facts && facts->uid.empty() ? withUid(kind, item.text, item.row.uid) : item.text;
}

/// The import of one text into one folder.
class Import {
  public:
    Import(Engine& engine, const FolderRow& folder, std::string_view text)
        : engine_(engine), folder_(folder), items_(folder.kind, text) {
        counts_.found = static_cast<uint32_t>(items_.count());
        counts_.firstProblem = items_.problem();
    }

    ImportCounts inParts(const std::function<void(uint32_t, uint32_t)>& progress) {
        for (size_t next = 0; next < items_.count();) {
            next = readSome(next, kItemsPerTransaction, kBytesPerTransaction);
            store();
            if (progress) progress(static_cast<uint32_t>(next), counts_.found);
        }
        return finished();
    }

    ImportCounts atOnce() {
        readSome(0, SIZE_MAX, SIZE_MAX);
        if (counts_.failed == 0) store();
        return finished();
    }

  private:
    using Parsed = std::shared_ptr<const ParsedText>;

    /// Reads items from there on into read_; where it ended.
    size_t readSome(size_t from, size_t mostItems, size_t mostBytes) {
        read_.clear();
        size_t bytes = 0;
        size_t i = from;
        for (; i < items_.count() && read_.size() < mostItems && bytes < mostBytes; ++i) {
            std::string text = items_.text(i);
            bytes += text.size();
            readOne(std::move(text));
        }
        return i;
    }

    void readOne(std::string text) {
        std::string problem;
        auto facts = readItem(folder_.kind, text, problem);
        if (!facts) {
            ++counts_.failed;
            if (counts_.firstProblem.empty()) counts_.firstProblem = problem;
            return;
        }
        // A contact is named by its UID alone; tasks get theirs when they are first listed.
        if (folder_.kind == ItemKind::kContact && facts->uid.empty()) {
            facts->uid = newIdentifier(folder_.kind);
            text = withUid(folder_.kind, text, facts->uid);
        }
        read_.push_back(
            std::make_shared<const ParsedText>(ParsedText{std::move(text), std::move(*facts)}));
    }

    void store() {
        if (read_.empty()) return;
        const auto transaction = engine_.database().beginGrouped();
        uint32_t changed = 0;
        for (const Parsed& item : read_) changed += storeOne(*transaction, *item) ? 1 : 0;
        transaction->commit();
        counts_.imported += changed;
    }

    /// Whether two texts differ at most in what stands around the item, as they do when one of them
    /// has been taken out of an exported folder.
    bool sameItem(const std::string& text, const std::string& stored) const {
        if (text == stored) return true;
        const TextSplitter one(folder_.kind, text);
        const TextSplitter two(folder_.kind, stored);
        if (one.count() != 1 || two.count() != 1) return false;
        if (one.components(0) != two.components(0)) return false;
        StepBudget budget(kItemSteps);
        return folder_.kind == ItemKind::kContact || zonesAgree(folder_.kind, text, stored, budget);
    }

    /// False when the folder holds the very same already.
    bool storeOne(WriteTransaction& transaction, const ParsedText& item) {
        const std::string& uid = item.facts.uid;
        const auto number =
            uid.empty() ? std::optional<int64_t>() : transaction.itemNumber(folder_.key, uid);
        if (!number) {
            const std::string identifier = newIdentifier(folder_.kind);
            transaction.insertItem(folder_.key, {uid, item.text, identifier, item.facts.span});
            return true;
        }
        const auto stored = transaction.item(folder_.key, *number);
        if (stored && sameItem(item.text, namedText(folder_.kind, *stored))) return false;
        const std::string identifier = stored ? stored->row.identifier : std::string();
        transaction.updateItem(folder_.key, *number, {uid, item.text, identifier, item.facts.span});
        return true;
    }

    ImportCounts finished() {
        if (counts_.imported > 0) mirrorAfterCommit(engine_, folder_.key.account);
        return counts_;
    }

    Engine& engine_;
    const FolderRow& folder_;
    TextSplitter items_;
    std::vector<Parsed> read_;
    ImportCounts counts_;
};

}  // namespace

uint32_t countItems(ItemKind kind, std::string_view text) {
    return static_cast<uint32_t>(TextSplitter(kind, text).count());
}

ImportCounts importItems(Engine& engine, const FolderRow& folder, std::string_view text,
                         const std::function<void(uint32_t done, uint32_t total)>& progress) {
    return Import(engine, folder, text).inParts(progress);
}

ImportCounts importAtOnce(Engine& engine, const FolderRow& folder, std::string_view text) {
    return Import(engine, folder, text).atOnce();
}

std::string exportFolder(Engine& engine, const FolderRow& folder, const ProgressCall& progress) {
    FolderText text(folder.kind);
    const size_t total = engine.database().itemCount(folder.key);
    size_t done = 0;
    engine.database().eachItem(folder.key, [&](StoredItem&& item) {
        text.add(namedText(folder.kind, item));
        if (progress) progress(++done, total);
    });
    return text.whole();
}

}  // namespace groupware
