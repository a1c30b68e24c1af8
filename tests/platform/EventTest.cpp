#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include "platform/CriticalSection.h"
#include "platform/Event.h"
#include "platform/Thread.h"

using namespace platform;

namespace {

using Kind = WaitResult::Kind;

TEST(Event, StaysSetUntilReset) {
    Event event;
    ASSERT_TRUE(event.valid());
    EXPECT_FALSE(event.isSet());
    EXPECT_TRUE(event.reset());
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.set());
    Event* const events[] = {&event};
    EXPECT_EQ(waitForAny(events, 0).kind, Kind::kSignalled);
    EXPECT_EQ(waitForAny(events, kWaitForever).kind, Kind::kSignalled);
    EXPECT_TRUE(event.isSet());
    EXPECT_TRUE(event.reset());
    EXPECT_FALSE(event.isSet());
    EXPECT_EQ(waitForAny(events, 1).kind, Kind::kTimeout);
}

TEST(Event, TheLowestIndexWins) {
    Event kill;
    Event queue;
    Event other;
    Event* const events[] = {&kill, &queue, &other};
    other.set();
    EXPECT_EQ(waitForAny(events, kWaitForever).index, 2U);
    queue.set();
    EXPECT_EQ(waitForAny(events, kWaitForever).index, 1U);
    kill.set();
    EXPECT_EQ(waitForAny(events, kWaitForever).index, 0U);
}

TEST(Event, BadWaitsFail) {
    Event* const none[] = {nullptr};
    EXPECT_EQ(waitForAny({}, 0).kind, Kind::kFailed);
    EXPECT_EQ(waitForAny(none, 0).kind, Kind::kFailed);
    EXPECT_NE(waitForAny(none, 0).error, 0U);
}

TEST(Event, ASignalNeitherEndsNorShortensAWait) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction former {};
    ::sigaction(SIGUSR1, &action, &former);
    Event event;
    const pthread_t waiter = ::pthread_self();
    std::thread other([&] {
        for (int i = 0; i < 5; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            ::pthread_kill(waiter, SIGUSR1);
        }
        event.set();
    });
    Event* const events[] = {&event};
    EXPECT_EQ(waitForAny(events, kWaitForever).kind, Kind::kSignalled);
    other.join();
    ::sigaction(SIGUSR1, &former, nullptr);
}

TEST(Thread, EndsWithinTheTimeOrNot) {
    Event go;
    Event* const events[] = {&go};
    Thread thread;
    EXPECT_FALSE(thread.started());
    EXPECT_TRUE(thread.waitForEnd(0));
    ASSERT_TRUE(thread.start([&] { waitForAny(events, kWaitForever); }));
    EXPECT_TRUE(thread.started());
    EXPECT_FALSE(thread.start([] {}));
    EXPECT_FALSE(thread.waitForEnd(10));
    go.set();
    EXPECT_TRUE(thread.waitForEnd(kWaitForever));
    EXPECT_TRUE(thread.waitForEnd(0));
}

TEST(Thread, OutlivesItsObjectAndTakesNoSignals) {
    Event go;
    Event done;
    sigset_t blocked;
    ::sigemptyset(&blocked);
    uint32_t id = 0;
    {
        Thread thread;
        ASSERT_TRUE(thread.start([&] {
            Event* const events[] = {&go};
            waitForAny(events, kWaitForever);
            ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
            id = currentThreadId();
            done.set();
        }));
    }
    go.set();
    Event* const events[] = {&done};
    ASSERT_EQ(waitForAny(events, kWaitForever).kind, Kind::kSignalled);
    EXPECT_EQ(::sigismember(&blocked, SIGTERM), 1);
    EXPECT_NE(id, currentThreadId());
    sigset_t own;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &own);
    EXPECT_EQ(::sigismember(&own, SIGTERM), 0);
}

TEST(CriticalSection, ExcludesOthersAndLetsItsHolderEnterAgain) {
    CriticalSection section;
    int64_t count = 0;
    const auto work = [&] {
        for (int i = 0; i < 20'000; ++i) {
            section.enter();
            section.enter();
            ++count;
            section.leave();
            section.leave();
        }
    };
    Thread first;
    Thread second;
    ASSERT_TRUE(first.start(work));
    ASSERT_TRUE(second.start(work));
    EXPECT_TRUE(first.waitForEnd(kWaitForever));
    EXPECT_TRUE(second.waitForEnd(kWaitForever));
    EXPECT_EQ(count, 40'000);
}

}  // namespace
