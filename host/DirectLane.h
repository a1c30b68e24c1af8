// The way of most requests: a worker accepts the connection, finds the whole request there, answers
// it and closes, without a turn of the event loop or another thread.
//
// Where a client would have to be waited for, or anything is out of the ordinary, the transaction
// is handed over as it stands, for a session to go on with. open(), acceptWaiting() and close() are
// for the event loop's thread.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
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
    /// Called from any thread.
    using HandOver = std::function<void(Visitor)>;

    DirectLane(SessionServices& services, HandOver handOver)
        : services_(services), handOver_(std::move(handOver)) {}

    /// Takes the listener's socket; its connections go to the workers from now on.
    void open(Listener& listener);
    /// Hands over those that have connected and that no worker has time for.
    void acceptWaiting();
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

    SessionServices& services_;
    const HandOver handOver_;
    std::list<Entrance> entrances_;
    std::atomic<bool> failing_ = false;
};

}  // namespace host
