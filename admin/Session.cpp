#include "admin/Session.h"

#include <iostream>

#include "platform/Files.h"
#include "platform/Terminal.h"

namespace admin {

void require(const groupware::Problem& problem) {
    if (problem) throw CommandError(*problem);
}

Session::Session(std::string_view dataDirectory)
    : typed_(dataDirectory),
      paths_(groupware::DataPaths::below(platform::fromNativePath(dataDirectory))) {}

Session::~Session() = default;

void Session::confirm(const std::string& question, bool yes) {
    if (yes || !platform::inputIsTerminal()) return;
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw CommandError("nothing was removed");
}

groupware::Engine& Session::engine() {
    if (!engine_) {
        if (!platform::fileExists(paths_.database)) {
            throw CommandError(typed_ +
                               " is not a data directory (it holds no corvane.db); make one " +
                               "with: cvadmin --data " + typed_ + " init --domain DOMAIN");
        }
        engine_ = std::make_unique<groupware::Engine>(paths_);
    }
    return *engine_;
}

groupware::AccountRow Session::account(std::string_view address) {
    auto account = engine().findAccount(address);
    if (!account) throw CommandError(groupware::noAccount(address));
    return *account;
}

groupware::AccountRow Session::publicAccount() {
    auto account = engine().database().accountById(groupware::kPublicAccount);
    if (!account) throw CommandError("the database is damaged: no account for public folders");
    return *account;
}

groupware::FolderRow Session::folder(std::string_view address, std::string_view name) {
    const groupware::AccountRow owner = account(address);
    auto folder = engine().database().folder(owner.id, name);
    if (!folder) {
        throw CommandError(owner.address + " has no folder " + std::string(name) +
                           "; \"cvadmin folder list " + owner.address + "\" shows the folders");
    }
    return *folder;
}

}  // namespace admin
