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

Kind waitFor(Event& event, uint32_t timeoutMs = kWaitForever) {
    Event* const events[] = {&event};
    return waitForAny(events, timeoutMs).kind;
}

TEST(Event, StaysSetUntilReset) {
    Event event;
    ASSERT_TRUE(event.valid());
    EXPECT_FALSE(event.isSet());
    EXPECT_TRUE(event.reset());
    EXPECT_TRUE(event.set());
    EXPECT_TRUE(event.set());
    EXPECT_EQ(waitFor(event, 0), Kind::kSignalled);
    EXPECT_EQ(waitFor(event), Kind::kSignalled);
    EXPECT_TRUE(event.isSet());
    EXPECT_TRUE(event.reset());
    EXPECT_FALSE(event.isSet());
    EXPECT_EQ(waitFor(event, 1), Kind::kTimeout);
}

TEST(Event, TheLowestIndexWinsAndBadWaitsFail) {
    Event several[3];
    Event* const events[] = {&several[0], &several[1], &several[2]};
    for (const size_t index : {2U, 1U, 0U}) {
        several[index].set();
        EXPECT_EQ(waitForAny(events, kWaitForever).index, index);
    }
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
    EXPECT_EQ(waitFor(event), Kind::kSignalled);
    other.join();
    ::sigaction(SIGUSR1, &former, nullptr);
}

TEST(Thread, EndsWithinTheTimeOrNot) {
    Event go;
    Thread thread;
    EXPECT_FALSE(thread.started());
    EXPECT_TRUE(thread.waitForEnd(0));
    ASSERT_TRUE(thread.start([&] { waitFor(go); }));
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
            waitFor(go);
            ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
            id = currentThreadId();
            done.set();
        }));
    }
    go.set();
    ASSERT_EQ(waitFor(done), Kind::kSignalled);
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
    ASSERT_TRUE(first.start(work) && second.start(work));
    EXPECT_TRUE(first.waitForEnd(kWaitForever) && second.waitForEnd(kWaitForever));
    EXPECT_EQ(count, 40'000);
}

}  // namespace
