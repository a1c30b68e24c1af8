// Manual-reset events and the wait for any one of several.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

namespace platform {

/// Stays set until it is reset. set() and reset() are safe from every thread.
class Event {
  public:
    /// valid() is false when the system has no more events to give; lastError() tells why.
    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    bool valid() const;
    bool set();
    bool reset();
    bool isSet() const;

  private:
    friend struct WaitAccess;
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

inline constexpr uint32_t kWaitForever = 0xFFFFFFFFU;

struct WaitResult {
    enum class Kind { kSignalled, kTimeout, kFailed };
    Kind kind = Kind::kFailed;
    size_t index = 0;    ///< of the first event that is set, when signalled
    uint32_t error = 0;  ///< the system's code, when failed
};

/// Waits until one of the events is set (the lowest index wins) or the time has passed.
WaitResult waitForAny(std::span<Event* const> events, uint32_t timeoutMs);

}  // namespace platform
