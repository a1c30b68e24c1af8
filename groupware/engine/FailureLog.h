// Tells on standard error why operations of the store's C interface failed: their answers, a status
// at best, cannot.
//
// Called by the interface's wrappers for everything raised inside them. Safe from every thread.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace groupware {

/// Chooses the failures that are told: each when it comes up, none too often.
class FailureLog {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// The line to write; empty for a failure that was told within the last minute, and when
    /// kMostInAMinute others were.
    std::string lineFor(std::string_view failure, Time now);

    static constexpr size_t kMostInAMinute = 20;

  private:
    std::mutex lock_;
    std::map<std::string, Time, std::less<>> told_;
};

/// Writes the line of the process's log, if there is one to write; true when it did. Raises
/// nothing.
bool tellFailure(std::string_view failure) noexcept;

}  // namespace groupware
