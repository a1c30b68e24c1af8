// From the event loop to a worker thread and back: a coroutine that waits for a job.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include <boost/asio/async_result.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "host/WorkerPool.h"

namespace host {

/// Runs the job on a worker and goes on where it was called, also when the job threw, which the
/// pool logs; false, at once, when the queue of the workers is full. What the job holds goes on the
/// event loop. Hand over a job that has a name: the compiler (g++ 12) destroys a temporary that a
/// coroutine is called with twice.
inline boost::asio::awaitable<bool> runOnPool(WorkerPool& pool, WorkerPool::Job job) {
    namespace asio = boost::asio;
    const asio::any_io_executor executor = co_await asio::this_coro::executor;
    auto initiate = [&pool, executor, job = std::move(job)](auto handler) mutable {
        struct Waiting {
            decltype(handler) resume;
            WorkerPool::Job job;
        };
        auto waiting = std::make_shared<Waiting>(Waiting{std::move(handler), std::move(job)});
        const auto complete = [executor](std::shared_ptr<Waiting> done, bool accepted) {
            asio::post(executor, [done = std::move(done), accepted] { done->resume(accepted); });
        };
        const bool accepted = pool.submit([waiting, complete]() mutable {
            try {
                waiting->job();
            } catch (...) {
                complete(std::move(waiting), true);
                throw;
            }
            complete(std::move(waiting), true);
        });
        if (!accepted) complete(std::move(waiting), false);
    };
    auto token = asio::use_awaitable;
    co_return co_await asio::async_initiate<decltype(token), void(bool)>(std::move(initiate),
                                                                         token);
}

}  // namespace host
