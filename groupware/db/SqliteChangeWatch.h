// Tells whether the database has changed, by whatever process, without a system call.
//
// SQLite's processes share the index of the write-ahead log in memory, and every commit changes its
// header before it is acknowledged; SQLite's readers go by the same header. Safe from every thread.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "groupware/db/SqliteConnection.h"

namespace groupware {

class SqliteChangeWatch {
  public:
    /// As long as it is the same, so is everything in the database.
    using State = std::array<uint32_t, 12>;

    explicit SqliteChangeWatch(std::string_view path);

    /// Nothing when it cannot be told here; then the database is to be asked.
    std::optional<State> state() const;

    /// Whether one single commit lies between two states.
    static bool isNext(const State& before, const State& after);

  private:
    SqliteConnection connection_;  // keeps the index where it is
    uint32_t* header_ = nullptr;   // written by SQLite alone
};

}  // namespace groupware
