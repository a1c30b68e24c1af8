#include <iostream>

#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Output.h"
#include "admin/Session.h"

namespace admin {

namespace {

using groupware::AccountRow;
using groupware::UserFlag;

constexpr size_t kLongestPassword = 1024;

/// One line of standard input, so that no password stands in a command line or an environment.
std::string readPassword() {
    std::string password;
    char c = 0;
    while (std::cin.get(c) && c != '\n') {
        if (password.size() == kLongestPassword) {
            throw CommandError("the password on standard input is longer than " +
                               std::to_string(kLongestPassword) + " bytes; give a shorter one");
        }
        password += c;
    }
    if (!password.empty() && password.back() == '\r') password.pop_back();
    if (password.empty()) {
        throw CommandError("a password was expected on standard input but it is empty; write it " +
                           std::string("there as one line"));
    }
    return password;
}

std::string stateOf(const AccountRow& account) {
    std::string state = account.disabled ? "disabled" : "enabled";
    if (account.frozen) state += ", frozen";
    if (account.mustChangePassword) state += ", must change password";
    return state;
}

Json jsonOf(const AccountRow& account) {
    return {{"address", account.address},
            {"name", account.fullName},
            {"disabled", account.disabled},
            {"frozen", account.frozen},
            {"mustChangePassword", account.mustChangePassword}};
}

void setFlag(Session& session, const Arguments& arguments, UserFlag flag, bool on) {
    require(groupware::setUserFlag(session.engine(), arguments.address, flag, on));
}

}  // namespace

void addUser(Session& session, const Arguments& arguments) {
    groupware::Engine& engine = session.engine();
    require(groupware::addUser(engine, arguments.address, arguments.fullName, readPassword()));
}

void listUsers(Session& session, const Arguments& arguments) {
    const std::vector<AccountRow> accounts = session.engine().database().accounts();
    if (arguments.json) {
        Json list = Json::array();
        for (const AccountRow& account : accounts) list.push_back(jsonOf(account));
        printJson(list);
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (const AccountRow& account : accounts) {
        rows.push_back({account.address, stateOf(account), account.fullName});
    }
    printColumns(rows);
}

void showUser(Session& session, const Arguments& arguments) {
    const AccountRow account = session.account(arguments.address);
    if (arguments.json) {
        Json value = jsonOf(account);
        value["folders"] = foldersAsJson(session.engine(), account);
        printJson(value);
        return;
    }
    printColumns(
        {{"Address", account.address}, {"Name", account.fullName}, {"State", stateOf(account)}});
    std::cout << "\nFolders\n";
    printFolders(session.engine(), account);
}

void removeUser(Session& session, const Arguments& arguments) {
    require(groupware::removeUser(session.engine(), arguments.address));
}

void enableUser(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kDisabled, false);
}

void disableUser(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kDisabled, true);
}

void freezeUser(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kFrozen, true);
}

void unfreezeUser(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kFrozen, false);
}

void setUserPassword(Session& session, const Arguments& arguments) {
    groupware::Engine& engine = session.engine();
    require(groupware::setPassword(engine, arguments.address, readPassword()));
}

void setMustChangePassword(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kMustChangePassword, arguments.onOrOff == "on");
}

void addUserAlias(Session& session, const Arguments& arguments) {
    require(groupware::addAlias(session.engine(), arguments.address, arguments.alias));
}

void removeUserAlias(Session& session, const Arguments& arguments) {
    require(groupware::removeAlias(session.engine(), arguments.address, arguments.alias));
}

}  // namespace admin
