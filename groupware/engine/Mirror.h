// Keeps the directories and marker files of accounts in step with the database.
//
// Other programs read there what class a folder has and when it last changed. The database leads:
// an account's tree is compared with it when the account's version is not the one that this process
// has seen mirrored, so a crash, another process's change or a deleted file is made good before
// anybody is shown the way into the tree. Safe from every thread and process; raises DatabaseError
// when a tree can neither be brought up to date nor be kept from telling an old stamp.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "groupware/db/Database.h"

namespace groupware {

class Mirror {
  public:
    explicit Mirror(Database& database) : database_(database) {}

    /// The root is the account's directory, with a closing backslash.
    void refresh(int64_t account, const std::string& root);

  private:
    /// The stamp of each folder by the name of its directory below the root.
    using Stamps = std::map<std::string, int64_t>;

    /// What is known to stand on disk.
    struct State {
        int64_t version;
        Stamps stamps;
    };

    bool isMirrored(int64_t account, int64_t version);
    std::optional<Stamps> knownStamps(int64_t account);
    void forget(int64_t account);
    /// The folders' stamps now mirrored, or nothing when not all could be written.
    std::optional<Stamps> bringUpToDate(int64_t account, const std::optional<Stamps>& known,
                                        const std::string& root);

    Database& database_;
    std::mutex mutex_;
    std::unordered_map<int64_t, State> states_;
};

}  // namespace groupware
