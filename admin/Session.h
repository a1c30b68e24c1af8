// One run of cvadmin: the data directory it works on, and the way its commands look things up.
//
// Made by the command line, handed to the one command that runs; single-threaded. What cannot be
// done is raised as CommandError, so that a command reads as the list of its steps and the program
// has one place that reports and one exit status for it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "groupware/engine/Accounts.h"
#include "groupware/engine/Engine.h"

namespace admin {

/// What was asked cannot be done. The text is one line for the operator.
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Raises CommandError when the groupware reported a problem.
void require(const groupware::Problem& problem);

class Session {
  public:
    /// The directory as it was typed.
    explicit Session(std::string_view dataDirectory);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Asks a person at a terminal, unless yes was given, and nobody else; CommandError for a no.
    static void confirm(const std::string& question, bool yes);

    const groupware::DataPaths& paths() const { return paths_; }
    const std::string& typedDirectory() const { return typed_; }

    /// Opened at first use; CommandError when the directory is not a data directory.
    groupware::Engine& engine();
    /// The account of that address or alias; CommandError when there is none.
    groupware::AccountRow account(std::string_view address);
    /// What the public folders belong to.
    groupware::AccountRow publicAccount();
    /// A folder of an account; CommandError when there is none.
    groupware::FolderRow folder(std::string_view address, std::string_view name);

  private:
    std::string typed_;
    groupware::DataPaths paths_;
    std::unique_ptr<groupware::Engine> engine_;
};

}  // namespace admin
