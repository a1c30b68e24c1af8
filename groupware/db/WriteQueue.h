// Lets the writers of one process in one after another, in the order in which they came.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

namespace groupware {

class WriteQueue {
  public:
    /// False when the turn did not come in time; otherwise leave() ends it.
    bool enter(std::chrono::milliseconds limit);
    void leave();
    /// Leaves to whoever comes next; false, and nothing done, when nobody waits.
    bool leaveToNext();

  private:
    std::mutex mutex_;
    std::condition_variable moved_;
    std::deque<uint64_t> queue_;  // its front has the turn
    uint64_t lastTicket_ = 0;
};

}  // namespace groupware
