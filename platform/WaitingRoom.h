// Where several threads wait for connections and for each other's calls, each on a seat of its own.
//
// A connection or a call wakes one of those who wait and no other; it goes through the hands of no
// thread that hands out work. Safe from every thread; the listeners outlive the room.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>

#include "platform/ClientSocket.h"

namespace platform {

class WaitingRoom {
  public:
    /// Throws std::system_error when the system has no more descriptors.
    explicit WaitingRoom(size_t seats);
    ~WaitingRoom();
    WaitingRoom(const WaitingRoom&) = delete;
    WaitingRoom& operator=(const WaitingRoom&) = delete;

    /// From now on connections to the listener wake those who wait, until it is shut down.
    void watch(ListenerSocket& listener);
    /// One of those who wait goes on, or the next who would wait.
    void call();

    struct Event {
        enum class Kind { kCalled, kConnection, kTimeout };
        Kind kind = Kind::kTimeout;
        ListenerSocket* listener = nullptr;  ///< that a connection may be accepted from
    };
    /// A seat is one thread's.
    Event wait(size_t seat, std::optional<std::chrono::milliseconds> time);

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace platform
