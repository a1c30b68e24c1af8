// The tables as former versions of the program made them, to be upgraded by tests. Copies on
// purpose: what has once been made never changes again.
#pragma once

inline constexpr const char* kSchemaVersion1 = R"(
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

inline constexpr const char* kSchemaVersion2 = R"(
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

inline constexpr const char* kSchemaVersion3 = R"(
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

inline constexpr const char* kContentsVersion1 = R"(
INSERT INTO domain(name) VALUES('example.test');
INSERT INTO account VALUES(1, 'alice@example.test', 'Alice', 'hash', 0, 0, 0, 0, 7, 1);
INSERT INTO account VALUES(2, 'bob@example.test', 'Bob', 'hash', 0, 0, 0, 0, 0, 0);
INSERT INTO alias VALUES('info@example.test', 1);
INSERT INTO folder VALUES(1, 1, 'Calendar', 1, 1, 1700000000123, 3);
INSERT INTO item VALUES(1, 1, 3, 1700000000122, 'uid', '', 0, 1, 1, 'BEGIN:VCALENDAR');
)";

inline constexpr const char* kContentsVersion2 = "INSERT INTO folder_grant VALUES(1, 1, 2, 2);";
