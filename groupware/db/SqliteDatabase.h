// The groupware's database in one SQLite file, shared by any number of processes of one machine.
#pragma once

#include "groupware/db/AccountFolders.h"
#include "groupware/db/AnswerCache.h"
#include "groupware/db/Database.h"
#include "groupware/db/SqliteReaders.h"
#include "groupware/db/SqliteWriter.h"

namespace groupware {

class SqliteDatabase : public Database {
  public:
    SqliteDatabase(std::string_view path, Clock clock)
        : path_(path), writing_(path, std::move(clock)), readers_(path) {}

    /// Makes or upgrades the tables if need be, while all other writers wait. To be called first.
    void prepare(bool create);

    std::vector<std::string> domains() override;
    std::optional<AccountRow> account(std::string_view address) override;
    std::optional<AccountRow> accountById(int64_t id) override;
    std::optional<AccountRow> accountByAlias(std::string_view address) override;
    std::vector<AccountRow> accounts() override;
    std::vector<std::string> aliases(int64_t account) override;
    std::optional<int64_t> accountVersion(int64_t id) override;

    std::vector<FolderRow> folders(int64_t account) override;
    std::optional<FolderRow> folder(int64_t account, std::string_view name) override;
    std::optional<FolderRow> defaultFolder(int64_t account, ItemKind kind) override;
    std::optional<FolderRow> folderOfDirectory(
        std::string_view directory, const std::function<std::optional<FolderRow>()>& find) override;

    std::vector<GrantRow> grantsOn(int64_t account) override;
    std::vector<GrantRow> grantsTo(int64_t grantee) override;
    uint32_t grantedRights(FolderKey folder, int64_t grantee) override;

    size_t itemCount(FolderKey folder) override;
    size_t itemCount() override;
    std::vector<ItemRow> items(FolderKey folder) override;
    void itemsInSpan(FolderKey folder, int64_t fromMs, int64_t toMs,
                     const std::function<void(StoredItem&&)>& each) override;
    void eachItem(FolderKey folder, const std::function<void(StoredItem&&)>& each) override;
    std::optional<FolderChanges> changesSince(FolderKey folder, const FolderState& since) override;
    std::optional<StoredItem> item(FolderKey folder, int64_t number) override;
    std::optional<StoredItem> itemByIdentifier(FolderKey folder,
                                               std::string_view identifier) override;
    std::optional<int64_t> itemNumber(FolderKey folder, std::string_view uid) override;

    std::unique_ptr<WriteTransaction> begin() override;
    std::unique_ptr<WriteTransaction> beginGrouped() override;

    std::vector<DatabaseFault> faults() override;
    std::unique_ptr<DatabaseSnapshot> snapshot() override;

  private:
    std::shared_ptr<const AccountFolders> foldersOf(int64_t account);

    std::string path_;
    SqliteWriting writing_;
    SqliteReaders readers_;
    std::unique_ptr<AnswerCache> answers_;
};

}  // namespace groupware
