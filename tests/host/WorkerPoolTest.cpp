#include <atomic>
#include <future>

#include <gtest/gtest.h>

#include "host/WorkerPool.h"

namespace host {
namespace {

constexpr std::chrono::seconds kLongEnough{60};

TEST(WorkerPool, TakesAsManyAsItCanHoldAndNoMore) {
    std::promise<void> gate;
    const std::shared_future<void> opened = gate.get_future().share();
    std::atomic<int> done = 0;
    constexpr size_t kThreads = 2;
    constexpr size_t kQueue = 3;
    {
        WorkerPool pool(kThreads, kQueue);
        const auto job = [&] {
            opened.wait();
            ++done;
        };
        for (size_t i = 0; i < kThreads + kQueue; ++i) EXPECT_TRUE(pool.submit(job)) << i;
        EXPECT_FALSE(pool.submit(job));
        EXPECT_FALSE(pool.waitUntilIdle(std::chrono::steady_clock::now()));
        gate.set_value();
        EXPECT_TRUE(pool.waitUntilIdle(std::chrono::steady_clock::now() + kLongEnough));
        EXPECT_EQ(done, static_cast<int>(kThreads + kQueue));
        EXPECT_TRUE(pool.submit(job));
        EXPECT_TRUE(pool.waitUntilIdle(std::chrono::steady_clock::now() + kLongEnough));
    }
    EXPECT_EQ(done, static_cast<int>(kThreads + kQueue) + 1);
}

TEST(WorkerPool, GoesOnAfterAJobThatThrows) {
    testing::internal::CaptureStderr();
    std::promise<void> done;
    WorkerPool pool(1, 1);
    pool.submit([] { throw std::bad_alloc(); });
    EXPECT_TRUE(pool.waitUntilIdle(std::chrono::steady_clock::now() + kLongEnough));
    pool.submit([&] { done.set_value(); });
    EXPECT_EQ(done.get_future().wait_for(kLongEnough), std::future_status::ready);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "cvwebdavd: a request failed: std::bad_alloc\n");
}

TEST(WorkerPool, EndsWithoutTheJobsThatStillWait) {
    std::promise<void> started;
    std::promise<void> gate;
    std::atomic<bool> finished = false;
    std::atomic<bool> dropped = true;
    std::thread opener;
    {
        WorkerPool pool(1, 1);
        pool.submit([&] {
            started.set_value();
            gate.get_future().wait();
            finished = true;
        });
        started.get_future().wait();
        // Opens the gate when the pool drops it from the queue, which is when the pool ends.
        const std::shared_ptr<void> onDrop(nullptr, [&](void*) { gate.set_value(); });
        pool.submit([&dropped, onDrop] { dropped = false; });
    }
    EXPECT_TRUE(finished);
    EXPECT_TRUE(dropped);
}

}  // namespace
}  // namespace host
