// What cvadmin can do: one row per command, one small function behind each.
//
// The command line is made from the table, so a row here is all that a new command needs besides
// its function. Functions print to standard output and raise CommandError (admin/Session.h).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace admin {

class Session;

/// The values that were given on the command line; what a command does not take stays empty.
struct Arguments {
    std::string domain;
    std::string address;
    std::string fullName;
    std::string alias;
    std::string onOrOff;
    std::string kind;
    std::string folder;
    std::string file;
    std::string grantee;
    std::string rights;
    std::string host;
    std::string port = "443";
    std::string newName;
    std::string days;
    std::string admin;
    bool passwordFromInput = false;
    bool json = false;
    bool revoke = false;
    bool yes = false;
    bool repair = false;
};

/// Which arguments a command takes, as a set of bits.
enum Takes : unsigned {
    kTakesNothing = 0,
    kTakesDomainOption = 1U << 0U,
    kTakesDomain = 1U << 1U,
    kTakesAddress = 1U << 2U,
    kTakesAlias = 1U << 3U,
    kTakesOnOrOff = 1U << 4U,
    kTakesFullName = 1U << 5U,
    kTakesPassword = 1U << 6U,
    kTakesKind = 1U << 7U,
    kTakesFolder = 1U << 8U,
    kTakesNewFolder = 1U << 9U,
    kTakesFile = 1U << 10U,
    kTakesJson = 1U << 11U,
    kTakesWith = 1U << 12U,
    kTakesTo = 1U << 13U,
    kTakesRights = 1U << 14U,
    kTakesRevoke = 1U << 15U,
    kTakesPublicFolder = 1U << 16U,
    kTakesNewName = 1U << 17U,
    kTakesDays = 1U << 18U,
    kTakesYes = 1U << 19U,
    kTakesRepair = 1U << 20U,
    kTakesOutputFile = 1U << 21U,
    kTakesNewFile = 1U << 22U,
    kTakesBackup = 1U << 23U,
    kTakesServer = 1U << 24U,
    kTakesAdmin = 1U << 25U,
};

struct Command {
    const char* words;  ///< as typed: "user alias add"
    const char* help;
    unsigned takes;
    void (*run)(Session&, const Arguments&);
};

/// A word that only opens a group of commands.
struct CommandGroup {
    const char* words;
    const char* help;
};

/// The number that DAYS means, 0 for never; nothing when it means none.
std::optional<int64_t> daysOf(std::string_view text);

std::span<const Command> commands();
std::span<const CommandGroup> commandGroups();

// CommandInit.cpp
void initDirectory(Session& session, const Arguments& arguments);
// CommandDomain.cpp
void addDomain(Session& session, const Arguments& arguments);
void listDomains(Session& session, const Arguments& arguments);
// CommandDns.cpp
void printDnsRecords(Session& session, const Arguments& arguments);
// CommandUser.cpp
void addUser(Session& session, const Arguments& arguments);
void listUsers(Session& session, const Arguments& arguments);
void showUser(Session& session, const Arguments& arguments);
void removeUser(Session& session, const Arguments& arguments);
void enableUser(Session& session, const Arguments& arguments);
void disableUser(Session& session, const Arguments& arguments);
void freezeUser(Session& session, const Arguments& arguments);
void unfreezeUser(Session& session, const Arguments& arguments);
void setUserPassword(Session& session, const Arguments& arguments);
void setMustChangePassword(Session& session, const Arguments& arguments);
void setPublishesBusyTime(Session& session, const Arguments& arguments);
void setPasswordAge(Session& session, const Arguments& arguments);
void addUserAlias(Session& session, const Arguments& arguments);
void removeUserAlias(Session& session, const Arguments& arguments);
// CommandFolder.cpp
void addUserFolder(Session& session, const Arguments& arguments);
void listFolders(Session& session, const Arguments& arguments);
void renameUserFolder(Session& session, const Arguments& arguments);
void removeUserFolder(Session& session, const Arguments& arguments);
void removePublicFolder(Session& session, const Arguments& arguments);
// CommandShare.cpp
void shareFolder(Session& session, const Arguments& arguments);
void unshareFolder(Session& session, const Arguments& arguments);
void addPublicFolder(Session& session, const Arguments& arguments);
void grantPublicFolder(Session& session, const Arguments& arguments);
void revokePublicFolder(Session& session, const Arguments& arguments);
void listPublicFolders(Session& session, const Arguments& arguments);
// CommandStatus.cpp
void showStatus(Session& session, const Arguments& arguments);
// CommandToken.cpp
void manageToken(Session& session, const Arguments& arguments);
// CommandTransfer.cpp
void importFile(Session& session, const Arguments& arguments);
void exportFolderTo(Session& session, const Arguments& arguments);
// CommandUpkeep.cpp
void checkData(Session& session, const Arguments& arguments);
void makeBackup(Session& session, const Arguments& arguments);
void restoreData(Session& session, const Arguments& arguments);

}  // namespace admin
