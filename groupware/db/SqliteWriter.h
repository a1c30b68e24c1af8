// A change of the embedded database.
#pragma once

#include <set>
#include <string>

#include "groupware/db/Database.h"
#include "groupware/db/SqliteConnection.h"
#include "groupware/db/SqliteWriting.h"

namespace groupware {

class SqliteWriter : public WriteTransaction {
  public:
    SqliteWriter(SqliteWriting& writing, bool alone);
    ~SqliteWriter() override;

    void addDomain(std::string_view domain) override;
    int64_t addAccount(const AccountRow& account) override;
    void updateAccount(const AccountRow& account) override;
    void removeAccount(int64_t account) override;
    void addAlias(std::string_view alias, int64_t account) override;
    void removeAlias(std::string_view alias) override;
    FolderKey addFolder(int64_t account, std::string_view name, ItemKind kind,
                        bool isDefault) override;
    void renameFolder(FolderKey folder, std::string_view name) override;
    void removeFolder(FolderKey folder) override;
    void setToken(FolderKey folder, std::string_view token) override;
    void setGrant(FolderKey folder, int64_t grantee, uint32_t rights) override;
    bool removeGrant(FolderKey folder, int64_t grantee) override;

    ItemChange insertItem(FolderKey folder, const NewItem& item) override;
    std::optional<ItemChange> updateItem(FolderKey folder, int64_t number,
                                         const NewItem& item) override;
    std::optional<FolderStep> deleteItem(FolderKey folder, int64_t number) override;

    std::optional<int64_t> itemNumber(FolderKey folder, std::string_view uid) override;
    std::optional<StoredItem> item(FolderKey folder, int64_t number) override;

    void mendFaults() override;

    void commit() override;

  private:
    /// Of a change that is not one of items alone.
    SqliteStatement statement(const char* sql);

    /// What a folder's row counts, before and after a change.
    struct Counts {
        FolderStep step;  ///< its later stamp is the next one already
        int64_t lastItem = 0;
    };
    Counts nextCounts(FolderKey folder);
    FolderStep keep(FolderKey folder, const Counts& counts);

    SqliteWriting& writing_;
    SqliteConnection& database_;
    std::set<int64_t> changedAccounts_;  ///< in themselves or in their folders
    bool itemsAlone_ = true;
    FolderStamps stamps_;  ///< that changes of items gave
    bool open_ = true;
};

}  // namespace groupware
