
#include "groupware/engine/Names.h"
#include "groupware/items/ItemChanges.h"
#include "groupware/items/ItemText.h"
#include "groupware/upkeep/Checks.h"

namespace groupware {

namespace {

constexpr uint64_t kItemsBetweenProgress = 256;

/// What an item's row should say besides its text.
struct Remedy {
    StoredItem item;
    std::string uid;
    ItemSpan span;
};

/// One folder's items.
class FolderCheck {
  public:
    FolderCheck(CheckRun& run, const FolderRow& folder, std::string place)
        : run_(run), folder_(folder), place_(std::move(place)) {}

    void look(StoredItem&& item) {
        std::string problem;
        const auto facts = readItem(folder_.kind, item.text, problem);
        if (!facts) {
            run_.tell(nameOf(item) + ": its text cannot be read, since " + problem);
            return;
        }
        const std::string uid = rightUid(item.row.uid, facts->uid);
        const bool isContact = folder_.kind == ItemKind::kContact;
        if (uid == item.row.uid && (isContact || facts->span == item.span)) return;
        const char* fault = uid == item.row.uid ? ": it is filed under another time than it tells"
                                                : ": it is filed under another UID than it tells";
        run_.tell(nameOf(item) + fault, [&] {
            remedies_.push_back({std::move(item), uid, facts->span});
            return true;
        });
    }

    /// After the folder has been read, so that no change waits for the reading.
    void mend() {
        if (remedies_.empty()) return;
        const auto change = run_.engine.database().begin();
        for (const Remedy& remedy : remedies_) {
            const int64_t number = remedy.item.row.number;
            const auto now = change->item(folder_.key, number);
            if (!now || now->text != remedy.item.text) continue;  // somebody has changed it since
            const auto holder = change->itemNumber(folder_.key, remedy.uid);
            const std::string& uid = holder && *holder != number ? now->row.uid : remedy.uid;
            change->updateItem(folder_.key, number,
                               {uid, now->text, now->row.identifier, remedy.span});
        }
        change->commit();
    }

  private:
    /// A contact goes by the name that its client gave it, whatever its text says.
    std::string rightUid(const std::string& filed, const std::string& told) const {
        if (folder_.kind != ItemKind::kContact) return told;
        if (!filed.empty()) return filed;
        return told.empty() ? newIdentifier(folder_.kind) : told;
    }

    std::string nameOf(const StoredItem& item) const {
        return place_ + ", item " + std::to_string(item.row.number) + " (" + item.row.uid + ")";
    }

    CheckRun& run_;
    const FolderRow& folder_;
    std::string place_;
    std::vector<Remedy> remedies_;
};

void checkFolder(CheckRun& run, const FolderRow& folder, const std::string& owner, size_t total) {
    const std::string place = owner + ", " + folder.name;
    ++run.report.folders;
    if (!isFolderName(folder.name)) {
        run.tell(place + ": no folder can have that name; cvadmin folder rename gives another");
    }
    FolderCheck check(run, folder, place);
    run.engine.database().eachItem(folder.key, [&](StoredItem&& item) {
        if (++run.report.items % kItemsBetweenProgress == 0) {
            run.progress("items", run.report.items, total);
        }
        check.look(std::move(item));
    });
    check.mend();
}

}  // namespace

void checkItems(CheckRun& run) {
    Database& database = run.engine.database();
    auto accounts = database.accounts();
    run.report.accounts = accounts.size();
    if (auto common = database.accountById(kPublicAccount)) {
        common->address = "public";
        accounts.push_back(std::move(*common));
    }
    const size_t total = database.itemCount();
    for (const AccountRow& account : accounts) {
        run.part([&] {
            for (const FolderRow& folder : database.folders(account.id)) {
                checkFolder(run, folder, account.address, total);
            }
        });
    }
}

}  // namespace groupware
