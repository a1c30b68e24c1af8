// The threads that run requests, the bounded queue before them, and the sockets that they take
// connections from themselves when they have nothing else to do.
//
// submit() is safe from every thread and never waits: a full queue says no, and the caller tells
// the client to come back later. What a job or a visit throws is logged and ends only that.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

#include "platform/ClientSocket.h"
#include "platform/WaitingRoom.h"

namespace host {

class WorkerPool {
  public:
    using Job = std::function<void()>;
    /// Accepts a connection and does what is to be done with it.
    using Visit = std::function<void(platform::ListenerSocket&)>;

    WorkerPool(size_t threads, size_t queueLength);
    /// Waits for the jobs in progress; those still in the queue are dropped.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// False when the queue is full.
    bool submit(Job job);
    /// Whether submit() would say yes now.
    bool hasRoom() const;

    /// Idle threads take connections from there until the listener is shut down; it outlives the
    /// pool. Nobody takes any while all are busy: then the caller is told, once each time.
    void receive(platform::ListenerSocket& listener, Visit visit);
    void tellWhenAllAreBusy(std::function<void()> tell);
    bool allAreBusy() const;

    struct Load {
        size_t waiting = 0;
        size_t running = 0;
    };
    Load load() const;

    /// Waits until no job is in progress and none waits; false when the time has passed first.
    bool waitUntilIdle(std::chrono::steady_clock::time_point deadline);

  private:
    using Clock = std::chrono::steady_clock;

    void work(size_t seat);
    bool runJob(std::unique_lock<std::mutex>& lock);
    void receiveFrom(platform::ListenerSocket& listener, std::unique_lock<std::mutex>& lock);
    void run(Job job, std::unique_lock<std::mutex>& lock);
    void tidyUp(std::unique_lock<std::mutex>& lock);
    void dropQueue();
    bool roomLeft() const;
    bool nothingToDo() const { return queue_.empty() && running_ == 0; }

    const size_t queueLength_;
    mutable std::mutex mutex_;
    platform::WaitingRoom room_;
    std::condition_variable done_;
    std::deque<Job> queue_;
    std::unordered_map<platform::ListenerSocket*, Visit> visits_;
    std::function<void()> tellAllBusy_;
    size_t running_ = 0;
    bool ending_ = false;
    bool tidy_ = true;  ///< no job has been done since memory was given back
    Clock::time_point lastDone_;
    std::vector<std::thread> threads_;
};

}  // namespace host
