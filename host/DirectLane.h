// The way of most requests: a worker accepts the connection, finds the whole request there, answers
// it and closes, without a turn of the event loop or another thread.
//
// Where a client would have to be waited for, or anything is out of the ordinary, the transaction
// is handed over as it stands, for a session to go on with. Workers do not get far ahead of the
// sessions, which are what bounds the number of connections. All that is public is for the event
// loop's thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#include "host/Listener.h"
#include "host/SessionServices.h"
#include "host/Transaction.h"
#include "platform/ClientSocket.h"

namespace host {

class DirectLane {
  public:
    struct Visitor {
        platform::ClientSocket socket;
        boost::asio::ip::tcp protocol;
        std::unique_ptr<Transaction> transaction;
    };
    using HandOver = std::function<void(Visitor)>;

    /// The function is called by workers; no more visitors than that are on the way at once. With
    /// room for one of each worker, those may be through before the event loop runs again.
    DirectLane(SessionServices& services, HandOver handOver, size_t mostOnTheWay)
        : services_(services), handOver_(std::move(handOver)), mostOnTheWay_(mostOnTheWay) {}

    /// Takes the listener's socket; its connections go to the workers from now on.
    void open(Listener& listener);
    /// One that was handed over has arrived.
    void hasArrived();
    /// Passes on some of those that have connected and that no worker has time for.
    void acceptWaiting(const HandOver& take);
    void close();

  private:
    struct Entrance {
        explicit Entrance(Listener& from) : listener(from), socket(from.release()) {}
        const Listener& listener;
        platform::ListenerSocket socket;
    };

    std::optional<Visitor> accept(Entrance& entrance, std::error_code& error);
    void receiveAt(Entrance& entrance);
    static bool serve(Visitor& visitor);
    void handOver(Visitor visitor);
    void tellOf(const std::error_code& error);

    SessionServices& services_;
    const HandOver handOver_;
    const size_t mostOnTheWay_;
    std::mutex mutex_;
    std::condition_variable arrived_;
    size_t onTheWay_ = 0;
    std::list<Entrance> entrances_;
    std::chrono::steady_clock::time_point tellAgain_;
};

}  // namespace host
