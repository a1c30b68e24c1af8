// A value that is found out when it is first wanted and kept from then on, whoever asks.
//
// Safe from every thread, and reading never waits. When several find it out at once, the first
// one's is kept.
#pragma once

#include <atomic>
#include <memory>

namespace groupware {

template <typename Value>
class Remembered {
  public:
    Remembered() = default;
    Remembered(const Remembered&) = delete;
    Remembered& operator=(const Remembered&) = delete;
    ~Remembered() { delete value_.load(std::memory_order_acquire); }

    /// Null as long as nothing is known.
    const Value* get() const { return value_.load(std::memory_order_acquire); }

    /// False when another value is known already.
    bool keep(std::unique_ptr<const Value> value) const {
        const Value* none = nullptr;
        if (!value_.compare_exchange_strong(none, value.get(), std::memory_order_acq_rel)) {
            return false;
        }
        (void)value.release();
        return true;
    }

  private:
    mutable std::atomic<const Value*> value_{nullptr};
};

}  // namespace groupware
