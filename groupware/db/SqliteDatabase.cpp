#include "groupware/db/SqliteDatabase.h"

#include "groupware/db/ProcessLock.h"
#include "groupware/db/SqliteFaults.h"
#include "groupware/db/SqliteRows.h"
#include "groupware/db/SqliteSchema.h"
#include "groupware/db/SqliteSnapshot.h"
#include "platform/Files.h"

namespace groupware {

namespace {

#define GROUPWARE_ACCOUNT                                                         \
    "SELECT a.id, a.address, a.full_name, a.password_hash, a.disabled, a.frozen," \
    " a.must_change_password, a.password_expires, a.publishes_busy_time,"         \
    " a.password_set, a.password_days FROM account a"

AccountRow accountOf(const SqliteStatement& row) {
    return {row.integer(0), row.text(1),    row.text(2),    row.text(3),
            row.flag(4),    row.flag(5),    row.flag(6),    row.integer(7),
            row.flag(8),    row.integer(9), row.integer(10)};
}

FolderRow folderOf(int64_t account, const SqliteStatement& row) {
    const int64_t kind = row.integer(2);
    if (kind < int64_t{1} || kind > int64_t{3}) {
        throw DatabaseError("the folder " + row.text(1) + " is of an unknown kind", false);
    }
    return {{account, row.integer(0)},
            row.text(1),
            static_cast<ItemKind>(kind),
            row.flag(3),
            row.integer(4),
            row.isNull(5) ? std::nullopt : std::optional(row.text(5))};
}

#define GROUPWARE_GRANT                                                              \
    "SELECT g.account, g.folder, g.grantee, a.address, g.rights FROM folder_grant g" \
    " JOIN account a ON a.id=g.grantee"

std::vector<GrantRow> allGrants(SqliteStatement& query) {
    std::vector<GrantRow> rows;
    while (query.step()) {
        rows.push_back({{query.integer(0), query.integer(1)},
                        query.integer(2),
                        query.text(3),
                        static_cast<uint32_t>(query.integer(4))});
    }
    return rows;
}

std::vector<std::string> textsOf(SqliteStatement& query) {
    std::vector<std::string> texts;
    while (query.step()) texts.push_back(query.text(0));
    return texts;
}

std::optional<AccountRow> oneAccount(SqliteStatement& query) {
    if (!query.step()) return std::nullopt;
    return accountOf(query);
}

std::optional<StoredItem> oneItem(SqliteStatement& query) {
    if (!query.step()) return std::nullopt;
    return storedItemOf(query);
}

/// What an account that is not there counts.
constexpr int64_t kNoAccount = -1;

std::string_view partOf(std::string_view text) {
    return text;
}

std::string partOf(int64_t number) {
    return std::to_string(number);
}

/// The text that the answer to a question is remembered under. No part but the last is a text.
template <typename... Parts>
std::string question(const char* name, const Parts&... parts) {
    std::string text = name;
    ((text += ' ', text += partOf(parts)), ...);
    return text;
}

}  // namespace

void SqliteDatabase::prepare(bool create) {
    if (!hasNewestSchema(writing_.connection())) {
        const auto lock = lockBetweenProcesses(writing_.lockPath());
        upgradeSchema(writing_.connection(), create);
    }
    answers_ = std::make_unique<AnswerCache>(path_);
    writing_.tell(*answers_);
}

std::vector<std::string> SqliteDatabase::domains() {
    return *answers_->lasting("domains", [&] {
        const auto reader = readers_.take();
        auto query = reader->statement("SELECT name FROM domain ORDER BY name");
        return textsOf(query);
    });
}

std::optional<AccountRow> SqliteDatabase::account(std::string_view address) {
    return *answers_->lasting(question("account", address), [&] {
        const auto reader = readers_.take();
        auto query = reader->statement(GROUPWARE_ACCOUNT " WHERE a.address=?1 AND a.id>0");
        return oneAccount(query.bind(address));
    });
}

std::optional<AccountRow> SqliteDatabase::accountById(int64_t id) {
    return *answers_->lasting(question("id", id), [&] {
        const auto reader = readers_.take();
        auto query = reader->statement(GROUPWARE_ACCOUNT " WHERE a.id=?1");
        return oneAccount(query.bind(id));
    });
}

std::optional<AccountRow> SqliteDatabase::accountByAlias(std::string_view address) {
    if (auto found = account(address)) return found;
    return *answers_->lasting(question("alias", address), [&] {
        const auto reader = readers_.take();
        auto query = reader->statement(GROUPWARE_ACCOUNT
                                       " JOIN alias ON alias.account=a.id WHERE alias.address=?1");
        return oneAccount(query.bind(address));
    });
}

std::vector<AccountRow> SqliteDatabase::accounts() {
    const auto reader = readers_.take();
    auto query = reader->statement(GROUPWARE_ACCOUNT " WHERE a.id>0 ORDER BY a.address");
    std::vector<AccountRow> rows;
    while (query.step()) rows.push_back(accountOf(query));
    return rows;
}

std::vector<std::string> SqliteDatabase::aliases(int64_t account) {
    const auto reader = readers_.take();
    auto query = reader->statement("SELECT address FROM alias WHERE account=?1 ORDER BY address");
    return textsOf(query.bind(account));
}

std::shared_ptr<const AccountFolders> SqliteDatabase::foldersOf(int64_t account) {
    return answers_->lasting(foldersQuestion(account), [&] {
        const auto reader = readers_.take();
        auto query = reader->statement(
            "SELECT f.folder, name, kind, is_default, stamp, token, version FROM account"
            " LEFT JOIN folder f ON f.account=id WHERE id=?1 ORDER BY f.folder");
        query.bind(account);
        std::vector<FolderRow> rows;
        int64_t count = kNoAccount;
        while (query.step()) {
            count = query.integer(6);
            if (!query.isNull(0)) rows.push_back(folderOf(account, query));
        }
        return AccountFolders(count, std::move(rows));
    });
}

std::optional<int64_t> SqliteDatabase::accountVersion(int64_t id) {
    const int64_t version = foldersOf(id)->version();
    return version == kNoAccount ? std::nullopt : std::optional(version);
}

std::vector<FolderRow> SqliteDatabase::folders(int64_t account) {
    return foldersOf(account)->rows();
}

std::optional<FolderRow> SqliteDatabase::folder(int64_t account, std::string_view name) {
    return foldersOf(account)->named(name);
}

std::optional<FolderRow> SqliteDatabase::defaultFolder(int64_t account, ItemKind kind) {
    return foldersOf(account)->defaultOf(kind);
}

std::optional<FolderRow> SqliteDatabase::folderOfDirectory(
    std::string_view directory, const std::function<std::optional<FolderRow>()>& find) {
    return *answers_->answer(question("directory", directory), find);
}

std::vector<GrantRow> SqliteDatabase::grantsOn(int64_t account) {
    return *answers_->lasting(question("on", account), [&] {
        const auto reader = readers_.take();
        auto query =
            reader->statement(GROUPWARE_GRANT " WHERE g.account=?1 ORDER BY g.folder, a.address");
        return allGrants(query.bind(account));
    });
}

std::vector<GrantRow> SqliteDatabase::grantsTo(int64_t grantee) {
    return *answers_->lasting(question("to", grantee), [&] {
        const auto reader = readers_.take();
        auto query =
            reader->statement(GROUPWARE_GRANT " WHERE g.grantee=?1 ORDER BY g.account, g.folder");
        return allGrants(query.bind(grantee));
    });
}

uint32_t SqliteDatabase::grantedRights(FolderKey folder, int64_t grantee) {
    return *answers_->lasting(question("rights", folder.account, folder.folder, grantee), [&] {
        const auto reader = readers_.take();
        auto query = reader->statement(
            "SELECT rights FROM folder_grant WHERE account=?1 AND folder=?2 AND grantee=?3");
        const bool granted = query.bind(folder.account, folder.folder, grantee).step();
        return granted ? static_cast<uint32_t>(query.integer(0)) : 0;
    });
}

size_t SqliteDatabase::itemCount(FolderKey folder) {
    const auto reader = readers_.take();
    auto query = reader->statement("SELECT count(*) FROM item WHERE account=?1 AND folder=?2");
    query.bind(folder.account, folder.folder).step();
    return static_cast<size_t>(query.integer(0));
}

size_t SqliteDatabase::itemCount() {
    const auto reader = readers_.take();
    auto query = reader->statement("SELECT count(*) FROM item");
    query.step();
    return static_cast<size_t>(query.integer(0));
}

std::vector<ItemRow> SqliteDatabase::items(FolderKey folder) {
    const auto reader = readers_.take();
    auto query = reader->statement(
        "SELECT item, modified, uid, identifier FROM item INDEXED BY item_changes"
        " WHERE account=?1 AND folder=?2 ORDER BY item");
    query.bind(folder.account, folder.folder);
    std::vector<ItemRow> rows;
    while (query.step()) rows.push_back(itemRowOf(query));
    return rows;
}

void SqliteDatabase::itemsInSpan(FolderKey folder, int64_t fromMs, int64_t toMs,
                                 const std::function<void(StoredItem&&)>& each) {
    const auto reader = readers_.take();
    auto query =
        reader->statement("SELECT " GROUPWARE_ITEM_COLUMNS
                          ", CASE exact WHEN 0 THEN text END FROM item INDEXED BY item_changes"
                          " WHERE account=?1 AND folder=?2 AND last_end>?3 AND first_start<?4");
    query.bind(folder.account, folder.folder, fromMs, toMs);
    while (query.step()) each(storedItemOf(query));
}

void SqliteDatabase::eachItem(FolderKey folder, const std::function<void(StoredItem&&)>& each) {
    const auto reader = readers_.take();
    auto query = reader->statement("SELECT " GROUPWARE_ITEM_COLUMNS
                                   ", text FROM item WHERE account=?1 AND folder=?2"
                                   " ORDER BY item");
    query.bind(folder.account, folder.folder);
    while (query.step()) each(storedItemOf(query));
}

std::optional<FolderChanges> SqliteDatabase::changesSince(FolderKey folder,
                                                          const FolderState& since) {
    const auto reader = readers_.take();
    const SqliteReading reading(*reader);
    auto state =
        reader->statement("SELECT stamp, deletions FROM folder WHERE account=?1 AND folder=?2");
    if (!state.bind(folder.account, folder.folder).step()) return std::nullopt;

    FolderChanges changes;
    changes.now = {state.integer(0), state.integer(1)};
    changes.whole = since == FolderState() || since.deletions > changes.now.deletions ||
                    changes.now.deletions - since.deletions > kDeletionsKept;
    auto items = reader->statement("SELECT " GROUPWARE_ITEM_COLUMNS
                                   " FROM item INDEXED BY item_changes"
                                   " WHERE account=?1 AND folder=?2 AND modified>?3"
                                   " ORDER BY modified");
    items.bind(folder.account, folder.folder, changes.whole ? INT64_MIN : since.stampMs);
    while (items.step()) changes.changed.push_back(itemHeadOf(items));
    if (changes.whole) return changes;

    for (int64_t count = since.deletions; count < changes.now.deletions; ++count) {
        auto deleted = reader->statement(
            "SELECT item FROM deleted_item WHERE account=?1 AND folder=?2 AND slot=?3");
        deleted.bind(folder.account, folder.folder, count % kDeletionsKept);
        if (deleted.step()) changes.deleted.push_back(deleted.integer(0));
    }
    return changes;
}

std::optional<StoredItem> SqliteDatabase::item(FolderKey folder, int64_t number) {
    const auto reader = readers_.take();
    auto query = reader->statement(kItemByNumber);
    return oneItem(query.bind(folder.account, folder.folder, number));
}

std::optional<StoredItem> SqliteDatabase::itemByIdentifier(FolderKey folder,
                                                           std::string_view identifier) {
    const auto reader = readers_.take();
    auto query = reader->statement("SELECT " GROUPWARE_ITEM_COLUMNS
                                   ", text FROM item WHERE account=?1 AND folder=?2"
                                   " AND identifier=?3 AND identifier<>''");
    return oneItem(query.bind(folder.account, folder.folder, identifier));
}

std::optional<int64_t> SqliteDatabase::itemNumber(FolderKey folder, std::string_view uid) {
    const auto reader = readers_.take();
    auto query = reader->statement(kItemNumberByUid);
    if (!query.bind(folder.account, folder.folder, uid).step()) return std::nullopt;
    return query.integer(0);
}

std::unique_ptr<WriteTransaction> SqliteDatabase::begin() {
    return std::make_unique<SqliteWriter>(writing_, true);
}

std::unique_ptr<WriteTransaction> SqliteDatabase::beginGrouped() {
    return std::make_unique<SqliteWriter>(writing_, false);
}

std::vector<DatabaseFault> SqliteDatabase::faults() {
    const auto reader = readers_.take();
    return faultsIn(*reader);
}

std::unique_ptr<DatabaseSnapshot> SqliteDatabase::snapshot() {
    return std::make_unique<SqliteSnapshot>(path_);
}

std::unique_ptr<Database> openSqliteDatabase(std::string_view path, bool create, Clock clock) {
    // SQLite would make the file readable for everybody; it holds password hashes.
    if (create && !platform::fileExists(path) && !platform::replaceFile(path, "", 0600, true)) {
        throw DatabaseError("cannot make the database " + platform::nativePath(path), false);
    }
    if (!platform::fileExists(path)) {
        throw DatabaseError("there is no database " + platform::nativePath(path), false);
    }
    auto database = std::make_unique<SqliteDatabase>(path, std::move(clock));
    database->prepare(create);
    return database;
}

}  // namespace groupware
