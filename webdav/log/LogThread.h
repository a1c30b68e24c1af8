// The thread that writes the log, and the queue of lines before it.
//
// One for the process. Any thread may add lines at any time, also before the thread starts; the
// order of the queue is the order in the file. The queue is bounded: what does not fit is dropped,
// and one line tells how many were, once the others are written. Lines that come within some
// milliseconds reach the file together.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "webdav/base/CThread.h"
#include "webdav/base/CriticalSection.h"
#include "webdav/log/LogWriter.h"

namespace webdav {

class LogThread : public CThread {
  public:
    static constexpr size_t kMaxQueuedLines = 100'000;
    static constexpr size_t kMaxQueuedBytes = size_t{64} << 20;

    /// Made at the first use, destroyed when the process ends or the library is unloaded.
    static LogThread& Instance();

    LogThread();
    ~LogThread() override;

    /// Reads the configuration and starts the thread.
    bool Start();
    /// Writes every queued line and ends the thread; waits at most 20 seconds for it.
    void Stop();

    /// Whether lines of this level are wanted at all.
    bool Wants(int level) const { return level >= minLevel_.load(std::memory_order_relaxed); }
    /// Queues a line when its level is wanted. The tag may be empty.
    void Add(int level, std::string_view tag, std::string_view message);
    /// What stands before the message of a line, with room for a usual one behind it.
    static std::string LineStart(int level, std::string_view tag);
    /// Queues a line that begins so, whatever its level.
    void Queue(std::string line);

  protected:
    void OnSignal(size_t index) override;
    void OnTimeout() override;
    void OnExit() override;

  private:
    void Configure();
    void WriteQueued();
    std::vector<LogEntry> TakeQueued();

    std::atomic<int32_t> minLevel_;
    LogWriter writer_;

    CCriticalSection queueLock_;  // taken within the writer's, never the other way round
    std::vector<LogEntry> queue_;
    size_t queuedBytes_ = 0;
    size_t dropped_ = 0;
    platform::Event queued_;  // set while the queue holds entries

    uint32_t idleTicks_ = 0;
};

}  // namespace webdav
