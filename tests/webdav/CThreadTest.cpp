#include <atomic>
#include <string>

#include <gtest/gtest.h>

#include "webdav/base/CThread.h"

namespace webdav {
namespace {

constexpr uint32_t kLongMs = 60'000;

/// Writes down what its thread is told; how signals are handled, the tests of LogThread show.
class Recorder : public CThread {
  public:
    ~Recorder() override { Stop(kLongMs); }
    using CThread::SetWaitTimeout;

    bool Init() override { return mayRun; }
    void OnSignal(size_t) override {}
    void OnTimeout() override {
        if (++timeouts == 3) handled.set();
    }
    void OnExit() override { told += "x"; }

    platform::Event handled;
    bool mayRun = true;
    std::atomic<int> timeouts = 0;
    std::string told;
};

TEST(CThread, EndsAtOnceWhenItCannotBeginAndTimeoutsWithoutEvents) {
    Recorder thread;
    thread.mayRun = false;
    ASSERT_TRUE(thread.Start());
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_EQ(thread.told, "x");
    thread.mayRun = true;
    thread.SetWaitTimeout(1);
    ASSERT_TRUE(thread.Start());
    platform::Event* const events[] = {&thread.handled};
    platform::waitForAny(events, kLongMs);
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_TRUE(thread.Stop(kLongMs));
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_GE(thread.timeouts, 3);
    EXPECT_EQ(thread.told, "xx");
}

}  // namespace
}  // namespace webdav
