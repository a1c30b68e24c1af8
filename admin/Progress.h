// Tells a person at a terminal how far a long command has come, and ends it cleanly on Ctrl-C.
//
// One line on standard error, written over once a second and wiped away in the end; silent when
// standard error is no terminal. Single-threaded.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace admin {

class Progress {
  public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Raises CommandError when the person has had enough, so that all that is half done is undone.
    void operator()(std::string_view stage, uint64_t done, uint64_t total);

  private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point next_;
    bool shown_ = false;
    bool terminal_;
};

}  // namespace admin
