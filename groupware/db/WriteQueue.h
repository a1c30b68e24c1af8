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

  private:
    std::mutex mutex_;
    std::condition_variable moved_;
    std::deque<uint64_t> queue_;  // its front has the turn
    uint64_t lastTicket_ = 0;
};

/// The holder's turn, ended when dropped.
class WriteTurn {
  public:
    explicit WriteTurn(WriteQueue& queue) : queue_(queue) {}
    ~WriteTurn() { queue_.leave(); }
    WriteTurn(const WriteTurn&) = delete;
    WriteTurn& operator=(const WriteTurn&) = delete;

  private:
    WriteQueue& queue_;
};

}  // namespace groupware
