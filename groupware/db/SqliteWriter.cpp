#include "groupware/db/SqliteWriter.h"

#include <algorithm>

#include "groupware/db/SqliteFaults.h"
#include "groupware/db/SqliteRows.h"

namespace groupware {

SqliteWriter::SqliteWriter(SqliteWriting& writing, bool alone)
    : writing_(writing), database_(writing.connection()) {
    writing_.enter(alone);
}

SqliteWriter::~SqliteWriter() {
    if (open_) writing_.giveUp();
}

void SqliteWriter::addDomain(std::string_view domain) {
    statement("INSERT INTO domain(name) VALUES(?1)").bind(domain).run();
}

int64_t SqliteWriter::addAccount(const AccountRow& account) {
    auto query = statement(
        "INSERT INTO account(address, full_name, password_hash, disabled, frozen,"
        " must_change_password, password_expires, publishes_busy_time, password_set,"
        " password_days) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10) RETURNING id");
    query.bind(account.address, account.fullName, account.passwordHash, account.disabled,
               account.frozen, account.mustChangePassword, account.passwordExpiresMs,
               account.publishesBusyTime, account.passwordSetMs, account.passwordDays);
    query.step();
    const int64_t id = query.integer(0);
    query.run();
    return id;
}

void SqliteWriter::updateAccount(const AccountRow& account) {
    statement(
        "UPDATE account SET address=?2, full_name=?3, password_hash=?4, disabled=?5,"
        " frozen=?6, must_change_password=?7, password_expires=?8, publishes_busy_time=?9,"
        " password_set=?10, password_days=?11 WHERE id=?1")
        .bind(account.id, account.address, account.fullName, account.passwordHash, account.disabled,
              account.frozen, account.mustChangePassword, account.passwordExpiresMs,
              account.publishesBusyTime, account.passwordSetMs, account.passwordDays)
        .run();
}

void SqliteWriter::removeAccount(int64_t account) {
    statement("DELETE FROM account WHERE id=?1 AND id>0").bind(account).run();
}

void SqliteWriter::addAlias(std::string_view alias, int64_t account) {
    statement("INSERT INTO alias(address, account) VALUES(?1, ?2)").bind(alias, account).run();
}

void SqliteWriter::removeAlias(std::string_view alias) {
    statement("DELETE FROM alias WHERE address=?1").bind(alias).run();
}

FolderKey SqliteWriter::addFolder(int64_t account, std::string_view name, ItemKind kind,
                                  bool isDefault) {
    auto number =
        statement("UPDATE account SET last_folder=last_folder+1 WHERE id=?1 RETURNING last_folder");
    if (!number.bind(account).step()) throw DatabaseError("no such account", false);
    const FolderKey key{account, number.integer(0)};
    number.run();

    statement(
        "INSERT INTO folder(account, folder, name, kind, is_default, stamp)"
        " VALUES(?1, ?2, ?3, ?4, ?5, ?6)")
        .bind(key.account, key.folder, name, static_cast<int64_t>(kind), isDefault, writing_.now())
        .run();
    changedAccounts_.insert(account);
    return key;
}

void SqliteWriter::renameFolder(FolderKey folder, std::string_view name) {
    statement("UPDATE folder SET name=?3 WHERE account=?1 AND folder=?2")
        .bind(folder.account, folder.folder, name)
        .run();
    changedAccounts_.insert(folder.account);
}

void SqliteWriter::removeFolder(FolderKey folder) {
    // Its stamp was part of the account's version, which never falls.
    statement(
        "UPDATE account SET version=version+coalesce("
        "(SELECT stamp FROM folder WHERE account=?1 AND folder=?2), 0) WHERE id=?1")
        .bind(folder.account, folder.folder)
        .run();
    statement("DELETE FROM folder WHERE account=?1 AND folder=?2")
        .bind(folder.account, folder.folder)
        .run();
    changedAccounts_.insert(folder.account);
}

void SqliteWriter::setToken(FolderKey folder, std::string_view token) {
    statement("UPDATE folder SET token=?3 WHERE account=?1 AND folder=?2")
        .bind(folder.account, folder.folder, token)
        .run();
    changedAccounts_.insert(folder.account);
}

void SqliteWriter::setGrant(FolderKey folder, int64_t grantee, uint32_t rights) {
    statement(
        "INSERT INTO folder_grant(account, folder, grantee, rights) VALUES(?1, ?2, ?3, ?4)"
        " ON CONFLICT(account, folder, grantee) DO UPDATE SET rights=excluded.rights")
        .bind(folder.account, folder.folder, grantee, int64_t{rights})
        .run();
    changedAccounts_.insert(folder.account);
}

bool SqliteWriter::removeGrant(FolderKey folder, int64_t grantee) {
    auto removed = statement(
        "DELETE FROM folder_grant WHERE account=?1 AND folder=?2 AND grantee=?3 RETURNING 1");
    if (!removed.bind(folder.account, folder.folder, grantee).step()) return false;
    removed.run();
    changedAccounts_.insert(folder.account);
    return true;
}

ItemChange SqliteWriter::insertItem(FolderKey folder, const NewItem& item) {
    Counts counts = nextCounts(folder);
    ++counts.lastItem;
    const int64_t stamp = counts.step.after.stampMs;
    database_
        .statement(
            "INSERT INTO item(account, folder, item, modified, uid, identifier, first_start,"
            " last_end, exact, text) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)")
        .bind(folder.account, folder.folder, counts.lastItem, stamp, item.uid, item.identifier,
              item.span.firstStartMs, item.span.lastEndMs, item.span.exact, Bytes{item.text})
        .run();
    return {{counts.lastItem, stamp, std::string(item.uid), std::string(item.identifier)},
            keep(folder, counts)};
}

std::optional<ItemChange> SqliteWriter::updateItem(FolderKey folder, int64_t number,
                                                   const NewItem& item) {
    auto query = database_.statement(
        "SELECT uid=?4 AND identifier=?5 FROM item WHERE account=?1 AND folder=?2 AND item=?3");
    query.bind(folder.account, folder.folder, number, item.uid, item.identifier);
    if (!query.step()) return std::nullopt;
    // What is set again as it is would be written again, with its indexes.
    const bool isNamedSo = query.flag(0);
    query.run();

    const Counts counts = nextCounts(folder);
    const int64_t stamp = counts.step.after.stampMs;
    if (!isNamedSo) {
        database_
            .statement(
                "UPDATE item SET uid=?4, identifier=?5"
                " WHERE account=?1 AND folder=?2 AND item=?3")
            .bind(folder.account, folder.folder, number, item.uid, item.identifier)
            .run();
    }
    database_
        .statement(
            "UPDATE item SET modified=?4, first_start=?5, last_end=?6, exact=?7, text=?8"
            " WHERE account=?1 AND folder=?2 AND item=?3")
        .bind(folder.account, folder.folder, number, stamp, item.span.firstStartMs,
              item.span.lastEndMs, item.span.exact, Bytes{item.text})
        .run();
    return ItemChange{{number, stamp, std::string(item.uid), std::string(item.identifier)},
                      keep(folder, counts)};
}

std::optional<FolderStep> SqliteWriter::deleteItem(FolderKey folder, int64_t number) {
    auto deleted = database_.statement(
        "DELETE FROM item WHERE account=?1 AND folder=?2 AND item=?3 RETURNING 1");
    if (!deleted.bind(folder.account, folder.folder, number).step()) return std::nullopt;
    deleted.run();
    Counts counts = nextCounts(folder);
    const int64_t slot = counts.step.after.deletions++ % kDeletionsKept;
    database_
        .statement("REPLACE INTO deleted_item(account, folder, slot, item) VALUES(?1, ?2, ?3, ?4)")
        .bind(folder.account, folder.folder, slot, number)
        .run();
    return keep(folder, counts);
}

std::optional<int64_t> SqliteWriter::itemNumber(FolderKey folder, std::string_view uid) {
    auto query = database_.statement(kItemNumberByUid);
    if (!query.bind(folder.account, folder.folder, uid).step()) return std::nullopt;
    return query.integer(0);
}

std::optional<StoredItem> SqliteWriter::item(FolderKey folder, int64_t number) {
    auto query = database_.statement(kItemByNumber);
    if (!query.bind(folder.account, folder.folder, number).step()) return std::nullopt;
    return storedItemOf(query);
}

void SqliteWriter::mendFaults() {
    itemsAlone_ = false;
    mendFaultsIn(database_);
}

void SqliteWriter::commit() {
    for (const int64_t account : changedAccounts_) {
        database_.statement("UPDATE account SET version=version+1 WHERE id=?1").bind(account).run();
    }
    open_ = false;
    writing_.commit(itemsAlone_ ? std::optional(std::move(stamps_)) : std::nullopt);
}

SqliteStatement SqliteWriter::statement(const char* sql) {
    itemsAlone_ = false;
    return database_.statement(sql);
}

SqliteWriter::Counts SqliteWriter::nextCounts(FolderKey folder) {
    auto query = database_.statement(
        "SELECT stamp, deletions, last_item FROM folder WHERE account=?1 AND folder=?2");
    if (!query.bind(folder.account, folder.folder).step()) {
        throw DatabaseError("no such folder", false);
    }
    const FolderState before{query.integer(0), query.integer(1)};
    const int64_t stamp = std::max(writing_.now(), before.stampMs + 1);
    return {{before, {stamp, before.deletions}}, query.integer(2)};
}

FolderStep SqliteWriter::keep(FolderKey folder, const Counts& counts) {
    const FolderState& after = counts.step.after;
    database_
        .statement(
            "UPDATE folder SET stamp=?3, deletions=?4, last_item=?5"
            " WHERE account=?1 AND folder=?2")
        .bind(folder.account, folder.folder, after.stampMs, after.deletions, counts.lastItem)
        .run();
    stamps_[folder] = after.stampMs;
    return counts.step;
}

}  // namespace groupware
