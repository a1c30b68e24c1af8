#include "groupware/db/SqliteChangeWatch.h"

#include <atomic>

#include <sqlite3.h>

namespace groupware {

namespace {

/// The layout of the index that is known here, as its first word tells it.
constexpr uint32_t kKnownLayout = 3'007'000;
constexpr int kIndexPageBytes = 32 * 1024;

uint32_t* mappedHeader(sqlite3* database) {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    constexpr int kWithSharedMemory = 2;
    if (!file || !file->pMethods || file->pMethods->iVersion < kWithSharedMemory) return nullptr;
    volatile void* page = nullptr;
    const int result = file->pMethods->xShmMap(file, 0, kIndexPageBytes, 0, &page);
    return result == SQLITE_OK ? static_cast<uint32_t*>(const_cast<void*>(page)) : nullptr;
}

}  // namespace

SqliteChangeWatch::SqliteChangeWatch(std::string_view path) : connection_(path) {
    connection_.execute("SELECT count(*) FROM sqlite_master");  // the index is there from now on
    header_ = mappedHeader(connection_.handle());
}

std::optional<SqliteChangeWatch::State> SqliteChangeWatch::state() const {
    if (!header_) return std::nullopt;
    State state;
    for (size_t i = 0; i < state.size(); ++i) {
        // Whoever sees the state of a commit sees the log as the commit left it.
        state[i] = std::atomic_ref(header_[i]).load(std::memory_order_acquire);
    }
    return state[0] == kKnownLayout ? std::optional(state) : std::nullopt;
}

bool SqliteChangeWatch::isNext(const State& before, const State& after) {
    constexpr size_t kCommits = 2;  // where the header counts them
    return after[kCommits] == before[kCommits] + 1;
}

}  // namespace groupware
