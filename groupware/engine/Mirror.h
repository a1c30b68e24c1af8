// Keeps the directories and marker files of accounts in step with the database.
//
// Other programs read there what class a folder has and when it last changed. The database leads:
// an account's tree is compared with it when the account's version is not the one that this process
// has seen mirrored, or when a marker is not the file that stood there then. So a crash, another
// process's change or a deleted file is made good before anybody is shown the way into the tree; in
// an account of very many folders a deleted file at one of the next looks. Safe from every thread
// and process; raises DatabaseError when a tree can neither be brought up to date nor be kept from
// telling an old stamp.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "groupware/db/Database.h"
#include "platform/Files.h"

namespace groupware {

class Mirror {
  public:
    explicit Mirror(Database& database) : database_(database) {}

    /// Tells the account's directory, with a closing backslash; asked only when it is needed.
    using RootOf = std::function<std::string()>;

    void refresh(int64_t account, const RootOf& rootOf);
    /// The same without a look at the files, for whoever was shown the way in a moment ago.
    void follow(int64_t account, const RootOf& rootOf);

    /// How the tree differs from what refresh() would make it, in words.
    std::vector<std::string> differences(int64_t account, const std::string& root);

  private:
    /// A folder as it stands on disk.
    struct Standing {
        int64_t stampMs = 0;
        std::optional<std::string> token;
        std::string marker;  ///< its path below the root
        std::optional<platform::FileStamp> file;
    };
    /// By the name of the folder's directory below the root.
    using Tree = std::map<std::string, Standing>;

    /// What is known to stand on disk.
    struct State {
        int64_t version = 0;
        Tree tree;
        mutable std::atomic<size_t> nextLook{0};  ///< the first marker of the next look
    };
    using StatePointer = std::shared_ptr<const State>;

    template <typename Stands>
    void bring(int64_t account, const RootOf& rootOf, Stands isStanding);
    StatePointer stateOf(int64_t account);
    void keep(int64_t account, StatePointer state);
    static bool stands(const State& state, const RootOf& rootOf);
    /// The folders now mirrored, or nothing when not all could be written.
    std::optional<Tree> bringUpToDate(int64_t account, const State* known, const std::string& root);

    Database& database_;
    std::mutex mutex_;
    std::unordered_map<int64_t, StatePointer> states_;
};

}  // namespace groupware
