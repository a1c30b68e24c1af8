#include <atomic>
#include <string>

#include <gtest/gtest.h>

#include "webdav/base/CThread.h"

namespace webdav {
namespace {

constexpr uint32_t kLongMs = 60'000;

/// Writes down what its thread is told.
class Recorder : public CThread {
  public:
    Recorder() {
        AddWaitHandle(first);
        AddWaitHandle(second);
    }
    ~Recorder() override { Stop(kLongMs); }
    using CThread::SetWaitTimeout;

    bool Init() override { return mayRun; }
    void OnSignal(size_t index) override {
        told += std::to_string(index);
        (index == 1 ? first : second).reset();
        handled.set();
    }
    void OnTimeout() override {
        if (++timeouts == 3) handled.set();
    }
    void OnExit() override { told += "x"; }

    platform::Event first;
    platform::Event second;
    platform::Event handled;
    bool mayRun = true;
    std::atomic<int> timeouts = 0;
    std::string told;
};

void awaitSet(platform::Event& event) {
    platform::Event* const events[] = {&event};
    platform::waitForAny(events, kLongMs);
    event.reset();
}

TEST(CThread, HandlesEventsUntilKilledAndStartsAgain) {
    Recorder thread;
    thread.second.set();
    ASSERT_TRUE(thread.Start());
    awaitSet(thread.handled);
    thread.first.set();
    awaitSet(thread.handled);
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.told, "21x");

    ASSERT_TRUE(thread.Start());
    thread.first.set();
    awaitSet(thread.handled);
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_EQ(thread.told, "21x1x");
}

TEST(CThread, EndsAtOnceWhenItCannotBeginAndTimeoutsWithoutEvents) {
    Recorder thread;
    thread.first.set();
    thread.mayRun = false;
    ASSERT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_EQ(thread.told, "x");
    thread.first.reset();
    thread.mayRun = true;
    thread.SetWaitTimeout(1);
    ASSERT_TRUE(thread.Start());
    awaitSet(thread.handled);
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_GE(thread.timeouts, 3);
    EXPECT_EQ(thread.told, "xx");
}

}  // namespace
}  // namespace webdav
