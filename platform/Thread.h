// A thread whose end can be awaited for a limited time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

class Thread {
  public:
    Thread();
    /// Does not wait: a thread that still runs goes on by itself.
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread; false when the system cannot (lastError() tells why).
    bool start(std::function<void()> body);
    bool started() const;
    /// True when the thread has ended within the time or was never started. Not for the thread
    /// itself.
    bool waitForEnd(uint32_t timeoutMs);

  private:
    struct Impl;
    std::shared_ptr<Impl> impl_;
};

/// A number that names the calling thread, for log lines.
uint32_t currentThreadId();

}  // namespace platform
