#include "groupware/db/CommitBatch.h"

namespace groupware {

void CommitBatch::finish(std::optional<DatabaseError> failure) {
    {
        const std::lock_guard lock(mutex_);
        failure_ = std::move(failure);
        isFinished_ = true;
    }
    finished_.notify_all();
}

void CommitBatch::wait() {
    std::unique_lock lock(mutex_);
    finished_.wait(lock, [&] { return isFinished_; });
    if (failure_) throw DatabaseError(*failure_);
}

}  // namespace groupware
