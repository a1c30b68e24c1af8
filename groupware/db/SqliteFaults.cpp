#include "groupware/db/SqliteFaults.h"

namespace groupware {

namespace {

/// A question whose rows name the places of a fault, and the statement that mends them all.
struct Question {
    const char* fault;
    const char* sql;
    const char* remedy;  ///< null: nothing that a machine should decide
};

#define OWNER(account) \
    "coalesce(nullif((SELECT address FROM account WHERE id=" account "), ''), 'public')"
#define FOLDER "SELECT DISTINCT " OWNER("f.account") " || ', ' || f.name FROM folder f"

#define NO_ACCOUNT "account NOT IN (SELECT id FROM account)"
#define NO_FOLDER "(account, folder) NOT IN (SELECT account, folder FROM folder)"
#define NOT_HOSTED "substr(address, instr(address, '@')+1) NOT IN (SELECT name FROM domain)"
#define OTHER_DEFAULT                                                           \
    " is_default=1 AND EXISTS(SELECT 1 FROM folder o WHERE o.account=f.account" \
    " AND o.kind=f.kind AND o.is_default=1 AND o.folder<f.folder)"
#define NEWEST_ITEM "(SELECT max(item) FROM item i WHERE i.account=f.account AND i.folder=f.folder)"
#define NEWEST_STAMP \
    "(SELECT max(modified) FROM item i WHERE i.account=f.account AND i.folder=f.folder)"
#define NEWEST_FOLDER "(SELECT max(folder) FROM folder WHERE account=account.id)"
// Of an item: later than every stamp of its folder, and no other item's.
#define LATER_STAMP \
    "item+(SELECT stamp FROM folder f WHERE f.account=item.account AND f.folder=item.folder)"
#define NAMELESS \
    "identifier='' AND (account, folder) IN (SELECT account, folder FROM folder WHERE kind=3)"

// In the order in which they are mended: what is removed first is asked no further question.
constexpr Question kQuestions[] = {
    {"the account of the public folders is missing",
     "SELECT 'public' WHERE NOT EXISTS(SELECT 1 FROM account WHERE id=0)",
     "INSERT OR IGNORE INTO account(id, address, full_name, password_hash, disabled, frozen,"
     " must_change_password, password_expires) VALUES(0, '', '', '', 1, 0, 0, 0)"},
    {"an alias of no account", "SELECT address FROM alias WHERE " NO_ACCOUNT,
     "DELETE FROM alias WHERE " NO_ACCOUNT},
    {"an alias that is an account's address too",
     "SELECT address FROM alias WHERE address IN (SELECT address FROM account)",
     "DELETE FROM alias WHERE address IN (SELECT address FROM account)"},
    {"a folder of no account", "SELECT name FROM folder WHERE " NO_ACCOUNT,
     "DELETE FROM folder WHERE " NO_ACCOUNT},
    {"items of no folder",
     "SELECT DISTINCT " OWNER("account") " || ', folder number ' || folder FROM item"
                                         " WHERE " NO_FOLDER,
     "DELETE FROM item WHERE " NO_FOLDER},
    {"rights that belong to no folder or account, or are none",
     "SELECT DISTINCT " OWNER("account") " || ', folder number ' || folder FROM folder_grant"
                                         " WHERE " NO_FOLDER
                                         " OR grantee NOT IN (SELECT id FROM account)"
                                         " OR rights NOT BETWEEN 1 AND 511",
     "DELETE FROM folder_grant WHERE " NO_FOLDER " OR grantee NOT IN (SELECT id FROM account)"
     " OR rights NOT BETWEEN 1 AND 511"},
    {"an address whose domain is not hosted here",
     "SELECT address FROM account WHERE id>0 AND " NOT_HOSTED
     " UNION SELECT address FROM alias WHERE " NOT_HOSTED,
     "INSERT OR IGNORE INTO domain(name)"
     " SELECT substr(address, instr(address, '@')+1) FROM account WHERE id>0"
     " UNION SELECT substr(address, instr(address, '@')+1) FROM alias"},
    {"the folder's kind is unknown", FOLDER " WHERE kind NOT IN (1, 2, 3)", nullptr},
    {"one of several default folders of its kind", FOLDER " WHERE" OTHER_DEFAULT,
     "UPDATE folder AS f SET is_default=0 WHERE" OTHER_DEFAULT},
    {"lacks a default folder; cvadmin folder add makes one",
     "SELECT DISTINCT a.address FROM account a, (SELECT 1 AS kind UNION SELECT 2 UNION SELECT 3) k"
     " WHERE a.id>0 AND NOT EXISTS(SELECT 1 FROM folder f"
     " WHERE f.account=a.id AND f.kind=k.kind AND f.is_default=1)",
     nullptr},
    {"folders are numbered beyond the last number",
     "SELECT " OWNER("id") " FROM account WHERE last_folder<" NEWEST_FOLDER,
     "UPDATE account SET last_folder=" NEWEST_FOLDER " WHERE last_folder<" NEWEST_FOLDER},
    {"items are numbered beyond the last number", FOLDER " WHERE last_item<" NEWEST_ITEM,
     "UPDATE folder AS f SET last_item=" NEWEST_ITEM " WHERE last_item<" NEWEST_ITEM},
    {"contacts without an identifier",
     FOLDER " JOIN item i ON i.account=f.account AND i.folder=f.folder"
            " WHERE f.kind=3 AND i.identifier=''",
     "UPDATE item SET identifier=lower(hex(randomblob(16))), modified=" LATER_STAMP
     " WHERE " NAMELESS},
    {"items have the same stamp",
     FOLDER " JOIN (SELECT account, folder FROM item GROUP BY account, folder, modified"
            " HAVING count(*)>1) s ON s.account=f.account AND s.folder=f.folder",
     "UPDATE item SET modified=" LATER_STAMP
     " WHERE (account, folder, item) IN (SELECT account, folder, item FROM"
     " (SELECT account, folder, item, row_number() OVER"
     " (PARTITION BY account, folder, modified ORDER BY item) AS place FROM item) WHERE place>1)"},
    {"items are newer than the folder's stamp", FOLDER " WHERE stamp<" NEWEST_STAMP,
     "UPDATE folder AS f SET stamp=1+" NEWEST_STAMP " WHERE stamp<" NEWEST_STAMP},
};

/// What SQLite finds in the file itself. An index can be made anew from its table.
void addFileFaults(SqliteConnection& connection, std::vector<DatabaseFault>& faults) {
    auto query = connection.statement("PRAGMA integrity_check(100)");
    while (query.step()) {
        const std::string found = query.text(0);
        if (found == "ok") continue;
        faults.push_back({"database file: " + found, found.find("index") != std::string::npos});
    }
}

}  // namespace

std::vector<DatabaseFault> faultsIn(SqliteConnection& connection) {
    std::vector<DatabaseFault> faults;
    addFileFaults(connection, faults);
    for (const Question& question : kQuestions) {
        auto query = connection.statement(question.sql);
        while (query.step()) {
            faults.push_back({query.text(0) + ": " + question.fault, question.remedy != nullptr});
        }
    }
    return faults;
}

void mendFaultsIn(SqliteConnection& connection) {
    connection.execute("REINDEX");
    for (const Question& question : kQuestions) {
        if (question.remedy != nullptr) connection.execute(question.remedy);
    }
    connection.execute("UPDATE account SET version=version+1");
}

}  // namespace groupware
