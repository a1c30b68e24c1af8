// Changes that reach the disk together, in one transaction of the database: all of them or none.
//
// Each member waits here until the one that commits tells how it went. Safe from every thread.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>

#include "groupware/db/Database.h"

namespace groupware {

class CommitBatch {
  public:
    void finish(std::optional<DatabaseError> failure);
    /// Raises the failure when there was one.
    void wait();

    size_t members = 0;  ///< counted by those who have the turn to write

  private:
    std::mutex mutex_;
    std::condition_variable finished_;
    bool isFinished_ = false;
    std::optional<DatabaseError> failure_;
};

}  // namespace groupware
