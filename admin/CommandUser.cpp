#include <algorithm>
#include <charconv>
#include <iostream>

#include "admin/Commands.h"
#include "admin/FolderListing.h"
#include "admin/Output.h"
#include "admin/Session.h"
#include "groupware/engine/MirrorTree.h"
#include "platform/LocalTime.h"

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
    if (!account.publishesBusyTime) state += ", keeps its busy time private";
    return state;
}

Json timeOrNull(int64_t ms) {
    return ms == 0 ? Json() : Json(groupware::stampText(ms));
}

Json jsonOf(const AccountRow& account) {
    return {{"address", account.address},
            {"name", account.fullName},
            {"disabled", account.disabled},
            {"frozen", account.frozen},
            {"mustChangePassword", account.mustChangePassword},
            {"publishesBusyTime", account.publishesBusyTime},
            {"passwordSet", timeOrNull(account.passwordSetMs)},
            {"passwordExpires", timeOrNull(account.passwordExpiresMs)}};
}

/// "set 3 days ago, good until 2026-11-21T11:40:00.000Z"
std::string passwordNote(const AccountRow& account) {
    constexpr int64_t kDayMs = 86'400'000;
    const int64_t now = platform::nowUtcMs();
    std::string note = "set at an unknown time";
    if (account.passwordSetMs != 0) {
        const int64_t days = std::max<int64_t>(now - account.passwordSetMs, 0) / kDayMs;
        note = "set " + countOf(static_cast<size_t>(days), "day") + " ago";
    }
    const int64_t expires = account.passwordExpiresMs;
    if (expires == 0) return note;
    return note + (expires <= now ? ", too old since " : ", good until ") +
           groupware::stampText(expires);
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
    const auto aliases = session.engine().database().aliases(account.id);
    if (arguments.json) {
        Json value = jsonOf(account);
        value["aliases"] = aliases;
        value["folders"] = foldersAsJson(session.engine(), account);
        printJson(value);
        return;
    }
    std::vector<std::vector<std::string>> rows = {{"Address", account.address},
                                                  {"Name", account.fullName},
                                                  {"State", stateOf(account)},
                                                  {"Password", passwordNote(account)}};
    for (const std::string& alias : aliases) rows.push_back({"Alias", alias});
    printColumns(rows);
    std::cout << "\nFolders\n";
    printFolders(session.engine(), account);
}

void removeUser(Session& session, const Arguments& arguments) {
    groupware::Engine& engine = session.engine();
    const AccountRow account = session.account(arguments.address);
    const auto contents = groupware::contentsOf(engine, engine.database().folders(account.id));
    const std::string all = account.address + " with " + countOf(contents.folders, "folder") +
                            " and " + countOf(contents.items, "item");
    Session::confirm("Remove " + all + "?", arguments.yes);
    require(groupware::removeUser(engine, account.address));
    std::cout << "Removed " << all << ".\n";
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

void setPublishesBusyTime(Session& session, const Arguments& arguments) {
    setFlag(session, arguments, UserFlag::kPublishesBusyTime, arguments.onOrOff == "on");
}

std::optional<int64_t> daysOf(std::string_view text) {
    if (text == "never") return 0;
    int64_t days = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    if (days < 1 || days > groupware::kMostPasswordDays) return std::nullopt;
    return days;
}

void setPasswordAge(Session& session, const Arguments& arguments) {
    // The command line has let nothing else through.
    const int64_t days = daysOf(arguments.days).value_or(0);
    require(groupware::setPasswordDays(session.engine(), arguments.address, days));
    const AccountRow account = session.account(arguments.address);
    std::cout << account.address << ": password " << passwordNote(account) << '\n';
}

void addUserAlias(Session& session, const Arguments& arguments) {
    require(groupware::addAlias(session.engine(), arguments.address, arguments.alias));
}

void removeUserAlias(Session& session, const Arguments& arguments) {
    require(groupware::removeAlias(session.engine(), arguments.address, arguments.alias));
}

}  // namespace admin
