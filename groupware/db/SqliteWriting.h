// The one connection that writes, and how the changes of a process share it and their way to disk.
//
// Writers wait for each other in a queue in the process and on a file lock between processes, both
// first come, first served. A writer that is done while others wait leaves the transaction open to
// the next one and waits for its commit, so that one sync serves all who came meanwhile; whoever
// finds the transaction open has a savepoint, so what one gives up does not concern the others.
// Each function but the constructor is called from enter() on by the thread that has the turn.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "groupware/db/AccountFolders.h"
#include "groupware/db/AnswerCache.h"
#include "groupware/db/CommitBatch.h"
#include "groupware/db/SqliteConnection.h"
#include "groupware/db/WriteQueue.h"
#include "platform/Files.h"

namespace groupware {

class SqliteWriting {
  public:
    SqliteWriting(std::string_view path, Clock clock);

    /// Whom to tell what commits have changed.
    void tell(AnswerCache& answers) { answers_ = &answers; }

    /// Waits for the turn. Alone: what others have left open is committed first.
    void enter(bool alone);
    /// Ends the turn; returns when the change is on disk, and raises DatabaseError when it is not
    /// and never will be. Items: the stamps given, when items are all that has changed.
    void commit(const std::optional<FolderStamps>& items);
    /// Ends the turn and undoes the change.
    void giveUp() noexcept;

    SqliteConnection& connection() { return connection_; }
    const std::string& lockPath() const { return lockPath_; }
    int64_t now() const { return clock_(); }

  private:
    void open();
    void note(const std::optional<FolderStamps>& items);
    void tellAnswers() noexcept;
    void close(std::optional<DatabaseError> failure) noexcept;
    void finish() noexcept;
    void leave() noexcept;

    std::string lockPath_;
    Clock clock_;
    WriteQueue queue_;
    SqliteConnection connection_;
    std::unique_ptr<platform::FileLock> lock_;
    std::shared_ptr<CommitBatch> batch_;        ///< of the open transaction, if one is open
    std::optional<FolderStamps> items_;         ///< the transaction's, like the members'
    std::optional<AnswerCache::State> before_;  ///< the transaction
    AnswerCache* answers_ = nullptr;
};

}  // namespace groupware
