// The data directory of a conversation: made fresh, filled by the set-up commands of its file, gone
// afterwards. Commands may stand between exchanges too.
#pragma once

#include <memory>
#include <string>

#include "groupware/engine/Engine.h"
#include "platform/DynamicLibrary.h"
#include "tests/wire/WireScript.h"

namespace wire {

class WireStore {
  public:
    /// Makes the data directory with the domain example.test and the store double for its
    /// libraries, and makes it this process's.
    WireStore();
    ~WireStore();
    WireStore(const WireStore&) = delete;
    WireStore& operator=(const WireStore&) = delete;

    /// By the product's path rule, without a closing backslash.
    const std::string& directory() const { return paths_.root; }

    /// Runs a command; false when it is none for the store. WireError when it cannot be done.
    bool run(const Command& command);

    /// The folder's read-only token, made if there is none.
    std::string accessToken(const std::string& address, const std::string& name);

    /// The name of the one message file in the account's directory; WireError unless it is one.
    std::string onlyMessage(const std::string& address);

    /// The library that tests tell to fail, see tests/double.
    const platform::DynamicLibrary& storeDouble() const { return double_; }

    /// The text of the module's log file; only whole after the module was shut down.
    std::string readLog() const;

  private:
    groupware::AccountRow account(const std::string& address);
    groupware::FolderRow folder(const std::string& address, const std::string& name);
    void importText(const std::string& address, const std::string& name, const std::string& text);

    platform::DynamicLibrary double_;
    groupware::DataPaths paths_;
    std::unique_ptr<groupware::Engine> engine_;
};

}  // namespace wire
