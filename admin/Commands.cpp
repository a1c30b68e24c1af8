#include "admin/Commands.h"

namespace admin {

namespace {

constexpr CommandGroup kGroups[] = {
    {"domain", "The domains whose accounts live here"},
    {"user", "Accounts"},
    {"user alias", "Further addresses of an account"},
    {"folder", "Calendars, task lists and address books of an account"},
    {"public", "Folders that belong to nobody; only those read them who are granted it"},
};

constexpr unsigned kAddressAndPassword = kTakesAddress | kTakesPassword;
constexpr unsigned kAddressAndFolder = kTakesAddress | kTakesFolder;
constexpr unsigned kPublicFolder = kTakesPublicFolder | kTakesTo;

constexpr Command kCommands[] = {
    {"init", "Makes the data directory", kTakesDomainOption, initDirectory},
    {"domain add", "Adds a domain", kTakesDomain, addDomain},
    {"domain list", "Lists the domains", kTakesJson, listDomains},
    {"dns", "Prints the DNS records by which clients find the server of a domain",
     kTakesDomain | kTakesServer | kTakesJson, printDnsRecords},
    {"user add", "Makes an account with its default folders", kAddressAndPassword | kTakesFullName,
     addUser},
    {"user list", "Lists the accounts", kTakesJson, listUsers},
    {"user show", "Shows an account and its folders", kTakesAddress | kTakesJson, showUser},
    {"user remove", "Removes an account and all that it holds", kTakesAddress | kTakesYes,
     removeUser},
    {"user enable", "Undoes disable", kTakesAddress, enableUser},
    {"user disable", "Refuses the account's logins", kTakesAddress, disableUser},
    {"user freeze", "Refuses the account's logins while it is frozen", kTakesAddress, freezeUser},
    {"user unfreeze", "Undoes freeze", kTakesAddress, unfreezeUser},
    {"user passwd", "Sets a new password", kAddressAndPassword, setUserPassword},
    {"user must-change", "Refuses logins until the password has been changed",
     kTakesAddress | kTakesOnOrOff, setMustChangePassword},
    {"user password-age", "Refuses logins with a password older than that",
     kTakesAddress | kTakesDays, setPasswordAge},
    {"user freebusy", "Whether others are told when the account is busy",
     kTakesAddress | kTakesOnOrOff, setPublishesBusyTime},
    {"user alias add", "Adds a further address", kTakesAddress | kTakesAlias, addUserAlias},
    {"user alias remove", "Removes a further address", kTakesAddress | kTakesAlias,
     removeUserAlias},
    {"folder add", "Makes a folder", kTakesAddress | kTakesKind | kTakesNewFolder, addUserFolder},
    {"folder list", "Lists an account's folders", kTakesAddress | kTakesJson, listFolders},
    {"folder rename", "Renames or moves a folder with those below it",
     kAddressAndFolder | kTakesNewName, renameUserFolder},
    {"folder remove", "Removes a folder, its items and the folders below it",
     kAddressAndFolder | kTakesYes, removeUserFolder},
    {"share", "Gives another account rights in a folder",
     kAddressAndFolder | kTakesWith | kTakesRights, shareFolder},
    {"unshare", "Takes another account's rights in a folder", kAddressAndFolder | kTakesWith,
     unshareFolder},
    {"public add", "Makes a public folder; switches public folders on",
     kTakesKind | kTakesNewFolder, addPublicFolder},
    {"public grant", "Gives rights in a public folder", kPublicFolder | kTakesRights,
     grantPublicFolder},
    {"public revoke", "Takes rights in a public folder", kPublicFolder, revokePublicFolder},
    {"public list", "Lists the public folders and who has which rights in them", kTakesJson,
     listPublicFolders},
    {"public remove", "Removes a public folder, its items and the folders below it",
     kTakesPublicFolder | kTakesYes, removePublicFolder},
    {"token", "Prints a folder's read-only token, making it first if there is none",
     kAddressAndFolder | kTakesRevoke | kTakesJson, manageToken},
    {"status", "Shows what the running cvwebdavd of the directory is doing",
     kTakesAdmin | kTakesJson, showStatus},
    {"import", "Adds the items of an iCalendar or vCard file to a folder",
     kAddressAndFolder | kTakesFile, importFile},
    {"export", "Writes a folder's items as one iCalendar or vCard text",
     kAddressAndFolder | kTakesOutputFile, exportFolderTo},
    {"check", "Looks for faults, tells them, and with --repair mends them",
     kTakesRepair | kTakesJson, checkData},
    {"backup", "Writes the whole data directory to one file, while it is being served",
     kTakesNewFile, makeBackup},
    {"restore", "Makes the data directory from a backup; it must not be there yet", kTakesBackup,
     restoreData},
};

}  // namespace

std::span<const Command> commands() {
    return kCommands;
}

std::span<const CommandGroup> commandGroups() {
    return kGroups;
}

}  // namespace admin
