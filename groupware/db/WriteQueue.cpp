#include "groupware/db/WriteQueue.h"

#include <algorithm>

namespace groupware {

bool WriteQueue::enter(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    const uint64_t ticket = ++lastTicket_;
    queue_.push_back(ticket);
    if (moved_.wait_for(lock, limit, [&] { return queue_.front() == ticket; })) return true;
    queue_.erase(std::find(queue_.begin(), queue_.end(), ticket));
    return false;
}

void WriteQueue::leave() {
    {
        std::lock_guard lock(mutex_);
        queue_.pop_front();
    }
    moved_.notify_all();
}

bool WriteQueue::leaveToNext() {
    {
        std::lock_guard lock(mutex_);
        if (queue_.size() < 2) return false;
        queue_.pop_front();
    }
    moved_.notify_all();
    return true;
}

}  // namespace groupware
