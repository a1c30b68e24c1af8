// How much memory the bodies of requests and answers take, all connections together.
//
// Safe from every thread. Each exchange has a share; what would go beyond the limit is to be
// refused by the one who asks, small bodies excepted: those the number of connections bounds.
// Bodies get half of it, so that people who send slowly, and need no password for that, leave room
// for the others.
#pragma once

#include <atomic>
#include <cstddef>

namespace host {

class MemoryBudget {
  public:
    explicit MemoryBudget(size_t limit) : limit_(limit) {}

    bool hasRoom() const { return held_ < limit_; }
    bool hasRoomForBody() const { return held_ < limit_ / 2; }
    size_t held() const { return held_; }

    class Share {
      public:
        explicit Share(MemoryBudget& budget) : budget_(budget) {}
        ~Share() { resize(0); }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        void resize(size_t size) {
            budget_.held_ += size - size_;
            size_ = size;
        }
        size_t size() const { return size_; }

      private:
        MemoryBudget& budget_;
        size_t size_ = 0;
    };

  private:
    const size_t limit_;
    std::atomic<size_t> held_ = 0;
};

}  // namespace host
