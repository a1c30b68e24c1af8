// Tells on standard error why operations of the store's C interface failed: their answers, a status
// at best, cannot.
//
// Called by the interface's wrappers for everything raised inside them. Safe from every thread.
#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

namespace groupware {

/// Chooses the failures that are told: each kind when it comes up, none too often.
class FailureLog {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// The line to write; empty within a second of the last one, and for the same failure as the
    /// last within a minute.
    std::string lineFor(std::string_view failure, Time now);

  private:
    std::mutex lock_;
    std::string last_;
    Time lastTime_;
};

/// Writes the line of the process's log, if there is one to write. Raises nothing.
void tellFailure(std::string_view failure) noexcept;

}  // namespace groupware
