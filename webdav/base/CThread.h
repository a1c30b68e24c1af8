// A thread that waits for events and handles one at a time.
//
// A derived class gives the handlers, which the thread alone calls; other threads only set its
// events. The first event waited for is the kill event, which thus wins over all others. A derived
// class stops its thread before it is destroyed, as its handlers are gone afterwards.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Event.h"
#include "platform/Thread.h"

namespace webdav {

class CThread {
  public:
    CThread();
    virtual ~CThread();
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// Starts the thread; it may be started again once it has ended. False when the system has no
    /// thread to give.
    bool Start();
    /// Sets the kill event and waits for the end. True when no thread runs any more.
    bool Stop(uint32_t timeoutMs);
    bool IsRunning();

    /// The thread's body. Raises std::out_of_range without any event to wait for.
    void Run();

  protected:
    /// Before the thread starts; the event's place in the list is what OnSignal receives.
    void AddWaitHandle(platform::Event& event);
    void SetWaitTimeout(uint32_t timeoutMs) { timeoutMs_ = timeoutMs; }

    /// False ends the thread at once.
    virtual bool Init() { return true; }
    virtual void OnSignal(size_t index) = 0;
    virtual void OnTimeout() {}
    /// The last thing the thread does.
    virtual void OnExit() {}

  private:
    bool WaitOnce();

    platform::Event killEvent_;
    uint32_t killEventError_ = 0;
    std::vector<platform::Event*> waitList_;
    std::optional<platform::Thread> thread_;
    uint32_t timeoutMs_ = platform::kWaitForever;
};

}  // namespace webdav
