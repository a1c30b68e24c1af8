// The threads that run requests, and the bounded queue before them.
//
// submit() is safe from every thread and never waits: a full queue says no, and the caller tells
// the client to come back later. A job must not throw.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace host {

class WorkerPool {
  public:
    using Job = std::function<void()>;

    WorkerPool(size_t threads, size_t queueLength);
    /// Waits for the jobs in progress; those still in the queue are dropped.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// False when the queue is full.
    bool submit(Job job);
    /// Whether submit() would say yes now.
    bool hasRoom() const;

    struct Load {
        size_t waiting = 0;
        size_t running = 0;
    };
    Load load() const;

    /// Waits until no job is in progress and none waits; false when the time has passed first.
    bool waitUntilIdle(std::chrono::steady_clock::time_point deadline);

  private:
    using Clock = std::chrono::steady_clock;

    void work();
    void waitForJob(std::unique_lock<std::mutex>& lock);
    void dropQueue();
    bool roomLeft() const;
    bool nothingToDo() const { return queue_.empty() && running_ == 0; }

    const size_t queueLength_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::deque<Job> queue_;
    size_t running_ = 0;
    bool ending_ = false;
    bool tidy_ = true;  ///< no job has been done since memory was given back
    Clock::time_point lastDone_;
    std::vector<std::thread> threads_;
};

}  // namespace host
