// Counts the bytes that folder contents take up in memory, for as long as anybody holds them.
//
// Safe from every thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace groupware {

class MemoryUse {
  public:
    size_t bytes() const { return bytes_.load(std::memory_order_relaxed); }

  private:
    friend class MemoryShare;
    std::atomic<size_t> bytes_{0};
};

/// What one value adds to the count; goes with the value.
class MemoryShare {
  public:
    explicit MemoryShare(std::shared_ptr<MemoryUse> use) : use_(std::move(use)) {}
    ~MemoryShare() { use_->bytes_.fetch_sub(bytes_, std::memory_order_relaxed); }
    MemoryShare(const MemoryShare&) = delete;
    MemoryShare& operator=(const MemoryShare&) = delete;

    void add(size_t bytes) const {
        bytes_.fetch_add(bytes, std::memory_order_relaxed);
        use_->bytes_.fetch_add(bytes, std::memory_order_relaxed);
    }

  private:
    std::shared_ptr<MemoryUse> use_;
    mutable std::atomic<size_t> bytes_{0};
};

}  // namespace groupware
