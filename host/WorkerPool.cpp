#include "host/WorkerPool.h"

#include <exception>
#include <optional>
#include <string>
#include <utility>

#include "host/Log.h"
#include "platform/Memory.h"

namespace host {
namespace {

/// After that long without work, the memory of large answers is given back.
constexpr std::chrono::seconds kRest{5};

}  // namespace

WorkerPool::WorkerPool(size_t threads, size_t queueLength)
    : queueLength_(queueLength), room_(threads) {
    // A thread that is early finds as many as there will be.
    const std::lock_guard lock(mutex_);
    threads_.reserve(threads);
    for (size_t i = 0; i < threads; ++i) threads_.emplace_back([this, i] { work(i); });
}

WorkerPool::~WorkerPool() {
    dropQueue();
    room_.call();
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
    room_.call();
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

void WorkerPool::receive(platform::ListenerSocket& listener, Visit visit) {
    {
        const std::lock_guard lock(mutex_);
        visits_[&listener] = std::move(visit);
    }
    room_.watch(listener);
}

void WorkerPool::tellWhenAllAreBusy(std::function<void()> tell) {
    const std::lock_guard lock(mutex_);
    tellAllBusy_ = std::move(tell);
}

bool WorkerPool::allAreBusy() const {
    const std::lock_guard lock(mutex_);
    return running_ == threads_.size();
}

WorkerPool::Load WorkerPool::load() const {
    const std::lock_guard lock(mutex_);
    return {queue_.size(), running_};
}

bool WorkerPool::waitUntilIdle(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(mutex_);
    return done_.wait_until(lock, deadline, [this] { return nothingToDo(); });
}

void WorkerPool::work(size_t seat) {
    using Kind = platform::WaitingRoom::Event::Kind;
    std::unique_lock lock(mutex_);
    while (!ending_) {
        if (runJob(lock)) continue;
        const auto rest = tidy_ ? std::nullopt : std::optional<std::chrono::milliseconds>(kRest);
        lock.unlock();
        const platform::WaitingRoom::Event event = room_.wait(seat, rest);
        lock.lock();
        if (event.kind == Kind::kConnection) receiveFrom(*event.listener, lock);
        if (event.kind == Kind::kTimeout) tidyUp(lock);
    }
    // One call is one thread's; the next one is to hear of it as well.
    room_.call();
}

bool WorkerPool::runJob(std::unique_lock<std::mutex>& lock) {
    if (queue_.empty()) return false;
    Job job = std::move(queue_.front());
    queue_.pop_front();
    // Calls that come close together are heard as one.
    if (!queue_.empty()) room_.call();
    run(std::move(job), lock);
    return true;
}

void WorkerPool::receiveFrom(platform::ListenerSocket& listener,
                             std::unique_lock<std::mutex>& lock) {
    const Visit& visit = visits_.at(&listener);
    run([&] { visit(listener); }, lock);
}

/// Counts the thread as busy meanwhile; what the job holds goes before that ends.
void WorkerPool::run(Job job, std::unique_lock<std::mutex>& lock) {
    tidy_ = false;
    const bool isLast = ++running_ == threads_.size();
    lock.unlock();
    if (isLast && tellAllBusy_) tellAllBusy_();
    try {
        job();
    } catch (const std::exception& problem) {
        logProblem(std::string("a request failed: ") + problem.what());
    }
    job = nullptr;
    lock.lock();
    --running_;
    lastDone_ = Clock::now();
    if (nothingToDo()) done_.notify_all();
}

/// Gives back the memory of large answers when the pool has had nothing to do for a while.
void WorkerPool::tidyUp(std::unique_lock<std::mutex>& lock) {
    if (tidy_ || running_ > 0 || Clock::now() - lastDone_ < kRest) return;
    tidy_ = true;
    lock.unlock();
    platform::releaseUnusedMemory();
    lock.lock();
}

}  // namespace host
