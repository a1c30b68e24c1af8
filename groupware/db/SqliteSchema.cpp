#include "groupware/db/SqliteSchema.h"

#include <iterator>
#include <string>

#include "groupware/db/Database.h"

namespace groupware {

namespace {

// Every key begins with the account. Numbers of accounts, folders and items are never given twice
// (last_folder, last_item), so what has been remembered about one cannot be taken for another.
constexpr const char* kFirstSchema = R"(
CREATE TABLE domain(
    name TEXT NOT NULL PRIMARY KEY
) WITHOUT ROWID;

CREATE TABLE account(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    address TEXT NOT NULL UNIQUE,
    full_name TEXT NOT NULL,
    password_hash TEXT NOT NULL,
    disabled INTEGER NOT NULL,
    frozen INTEGER NOT NULL,
    must_change_password INTEGER NOT NULL,
    password_expires INTEGER NOT NULL,
    version INTEGER NOT NULL DEFAULT 0,
    last_folder INTEGER NOT NULL DEFAULT 0
);

CREATE TABLE alias(
    address TEXT NOT NULL PRIMARY KEY,
    account INTEGER NOT NULL REFERENCES account(id) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX alias_account ON alias(account);

CREATE TABLE folder(
    account INTEGER NOT NULL REFERENCES account(id) ON DELETE CASCADE,
    folder INTEGER NOT NULL,
    name TEXT NOT NULL COLLATE NOCASE,
    kind INTEGER NOT NULL,
    is_default INTEGER NOT NULL,
    stamp INTEGER NOT NULL,
    last_item INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY(account, folder),
    UNIQUE(account, name)
) WITHOUT ROWID;

CREATE TABLE item(
    account INTEGER NOT NULL,
    folder INTEGER NOT NULL,
    item INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    uid TEXT NOT NULL,
    identifier TEXT NOT NULL,
    first_start INTEGER NOT NULL,
    last_end INTEGER NOT NULL,
    exact INTEGER NOT NULL,
    text BLOB NOT NULL,
    PRIMARY KEY(account, folder, item),
    FOREIGN KEY(account, folder) REFERENCES folder(account, folder) ON DELETE CASCADE
);
CREATE INDEX item_listing ON item(account, folder, item, modified, uid, identifier);
CREATE INDEX item_span ON item(account, folder, last_end, first_start);
CREATE UNIQUE INDEX item_uid ON item(account, folder, uid) WHERE uid <> '';
CREATE UNIQUE INDEX item_identifier ON item(account, folder, identifier) WHERE identifier <> '';

INSERT INTO account(id, address, full_name, password_hash, disabled, frozen,
                    must_change_password, password_expires)
VALUES(0, '', '', '', 1, 0, 0, 0);
)";

// Grants to everybody are grants to account 0, which owns the public folders.
constexpr const char* kGrants = R"(
CREATE TABLE folder_grant(
    account INTEGER NOT NULL,
    folder INTEGER NOT NULL,
    grantee INTEGER NOT NULL REFERENCES account(id) ON DELETE CASCADE,
    rights INTEGER NOT NULL,
    PRIMARY KEY(account, folder, grantee),
    FOREIGN KEY(account, folder) REFERENCES folder(account, folder) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX folder_grant_grantee ON folder_grant(grantee);
)";

// What has changed in a folder since a stamp is found without touching texts: changed items by
// their stamps, the last deleted ones by the count of deletions, which goes round a fixed number of
// slots.
constexpr const char* kChanges = R"(
ALTER TABLE folder ADD COLUMN deletions INTEGER NOT NULL DEFAULT 0;
CREATE TABLE deleted_item(
    account INTEGER NOT NULL,
    folder INTEGER NOT NULL,
    slot INTEGER NOT NULL,
    item INTEGER NOT NULL,
    PRIMARY KEY(account, folder, slot),
    FOREIGN KEY(account, folder) REFERENCES folder(account, folder) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE INDEX item_changes ON item(account, folder, modified, item, uid, identifier, first_start,
                                  last_end, exact);
DROP INDEX item_listing;
DROP INDEX item_span;
)";

// A folder whose token is NULL has it, if any, in its class file alone, as all had before.
constexpr const char* kAccountSettings = R"(
ALTER TABLE account ADD COLUMN publishes_busy_time INTEGER NOT NULL DEFAULT 1;
ALTER TABLE account ADD COLUMN password_set INTEGER NOT NULL DEFAULT 0;
ALTER TABLE account ADD COLUMN password_days INTEGER NOT NULL DEFAULT 0;
ALTER TABLE folder ADD COLUMN token TEXT;
)";

// Step n leads from version n to version n + 1; version 0 is an empty database.
constexpr const char* kSteps[] = {kFirstSchema, kGrants, kChanges, kAccountSettings};
constexpr int64_t kNewest = std::size(kSteps);

int64_t schemaVersion(SqliteConnection& connection) {
    auto query = connection.statement("PRAGMA user_version");
    return query.step() ? query.integer(0) : 0;
}

}  // namespace

bool hasNewestSchema(SqliteConnection& connection) {
    const int64_t version = schemaVersion(connection);
    if (version > kNewest) {
        throw DatabaseError("the database was made by a newer version of this program", false);
    }
    return version == kNewest;
}

void upgradeSchema(SqliteConnection& connection, bool create) {
    if (hasNewestSchema(connection)) return;
    const int64_t version = schemaVersion(connection);
    if (version == 0 && !create) throw DatabaseError("the database file holds no tables", false);
    if (version == 0) connection.execute("PRAGMA journal_mode=WAL");  // stands in the file

    connection.execute("BEGIN IMMEDIATE");
    try {
        for (int64_t step = version; step < kNewest; ++step) connection.execute(kSteps[step]);
        connection.execute(("PRAGMA user_version=" + std::to_string(kNewest)).c_str());
        connection.execute("COMMIT");
    } catch (...) {
        // Several errors have rolled back already, and what is to be told is the first one.
        try {
            connection.execute("ROLLBACK");
        } catch (const DatabaseError&) {
        }
        throw;
    }
}

}  // namespace groupware
