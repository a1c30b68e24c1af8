// Shared immutable values that count their references themselves: a reference is one plain pointer,
// which fits where only a pointer can be kept, and costs no memory of its own.
//
// Like std::shared_ptr safe to copy and drop in any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace groupware {

/// What such a value derives from.
class Counted {
  public:
    Counted() = default;
    Counted(const Counted&) {}  // a copy is another value, with references of its own
    Counted& operator=(const Counted&) = delete;

  private:
    template <typename>
    friend class Reference;

    mutable std::atomic<uint32_t> references_{0};
};

template <typename Value>
class Reference {
  public:
    Reference(std::nullptr_t = nullptr) {}
    /// Holds a value that was just made, or one that is held elsewhere already.
    explicit Reference(const Value* value) : value_(value) { hold(); }
    Reference(const Reference& other) : value_(other.value_) { hold(); }
    Reference(Reference&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    Reference& operator=(Reference other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Reference() {
        if (value_ && value_->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete value_;
        }
    }

    /// The value's hold passes to the plain pointer, until adopt() takes it back.
    const Value* release() { return std::exchange(value_, nullptr); }
    static Reference adopt(const Value* value) {
        Reference reference;
        reference.value_ = value;
        return reference;
    }

    const Value* get() const { return value_; }
    const Value* operator->() const { return value_; }
    const Value& operator*() const { return *value_; }
    friend bool operator==(const Reference&, const Reference&) = default;

  private:
    void hold() const {
        if (value_) value_->references_.fetch_add(1, std::memory_order_relaxed);
    }

    const Value* value_ = nullptr;
};

}  // namespace groupware
