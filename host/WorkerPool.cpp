#include "host/WorkerPool.h"

#include <utility>

#include "platform/Memory.h"

namespace host {

WorkerPool::WorkerPool(size_t threads, size_t queueLength) : queueLength_(queueLength) {
    threads_.reserve(threads);
    for (size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
}

WorkerPool::~WorkerPool() {
    dropQueue();
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void WorkerPool::dropQueue() {
    // What the jobs hold is let go of outside the lock.
    std::deque<Job> dropped;
    const std::lock_guard lock(mutex_);
    ending_ = true;
    dropped.swap(queue_);
}

bool WorkerPool::submit(Job job) {
    {
        const std::lock_guard lock(mutex_);
        if (!roomLeft()) return false;
        queue_.push_back(std::move(job));
    }
    wake_.notify_one();
    return true;
}

bool WorkerPool::roomLeft() const {
    // A job that an idle thread is about to take does not count as waiting.
    const size_t idleThreads = threads_.size() - running_;
    return !ending_ && queue_.size() < queueLength_ + idleThreads;
}

bool WorkerPool::hasRoom() const {
    const std::lock_guard lock(mutex_);
    return roomLeft();
}

WorkerPool::Load WorkerPool::load() const {
    const std::lock_guard lock(mutex_);
    return {queue_.size(), running_};
}

bool WorkerPool::waitUntilIdle(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    return done_.wait_until(lock, deadline, [this] { return nothingToDo(); });
}

/// Also gives back the memory of large answers, when the pool has had nothing to do for a while.
void WorkerPool::waitForJob(std::unique_lock<std::mutex>& lock) {
    constexpr std::chrono::seconds kRest{5};
    const auto hasJob = [this] { return ending_ || !queue_.empty(); };
    while (!tidy_) {
        if (wake_.wait_for(lock, kRest, hasJob)) return;
        if (running_ > 0 || Clock::now() - lastDone_ < kRest) continue;
        tidy_ = true;
        lock.unlock();
        platform::releaseUnusedMemory();
        lock.lock();
    }
    wake_.wait(lock, hasJob);
}

void WorkerPool::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        waitForJob(lock);
        if (queue_.empty()) return;
        tidy_ = false;
        Job job = std::move(queue_.front());
        queue_.pop_front();
        ++running_;
        lock.unlock();
        job();
        // What the job holds goes before the job counts as done.
        job = nullptr;
        lock.lock();
        --running_;
        lastDone_ = Clock::now();
        if (nothingToDo()) done_.notify_all();
    }
}

}  // namespace host
