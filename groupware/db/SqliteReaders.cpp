#include "groupware/db/SqliteReaders.h"

namespace groupware {

namespace {

// Enough for the worker threads of a host; each costs three file descriptors and its page cache.
constexpr size_t kMostIdle = 16;

}  // namespace

SqliteReaders::Lease SqliteReaders::take() {
    {
        std::lock_guard lock(mutex_);
        if (!idle_.empty()) {
            auto connection = std::move(idle_.back());
            idle_.pop_back();
            return {*this, std::move(connection)};
        }
    }
    auto connection = std::make_unique<SqliteConnection>(path_);
    connection->execute("PRAGMA query_only=1; PRAGMA cache_size=-8192");
    return {*this, std::move(connection)};
}

void SqliteReaders::giveBack(std::unique_ptr<SqliteConnection> connection) {
    std::lock_guard lock(mutex_);
    if (idle_.size() < kMostIdle) idle_.push_back(std::move(connection));
}

}  // namespace groupware
