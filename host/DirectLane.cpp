#include "host/DirectLane.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "host/Log.h"

namespace host {
namespace {

using boost::asio::ip::tcp;

/// Most requests come in one piece, and few of them are longer.
constexpr size_t kWholeRequest = 16 * 1024;
constexpr std::chrono::milliseconds kAcceptPause{100};
constexpr std::chrono::minutes kTellPause{1};
/// The event loop has other things to do as well.
constexpr size_t kAcceptedInARow = 100;

tcp::endpoint endpointOf(const platform::SocketAddress& address) {
    tcp::endpoint endpoint;
    const size_t size = std::min(address.size, endpoint.capacity());
    std::memcpy(endpoint.data(), address.bytes.data(), size);
    endpoint.resize(size);
    return endpoint;
}

/// Whether all of the request is there, and nothing about it needs a closer look.
bool receiveRequest(Transaction& transaction, platform::ClientSocket& socket) {
    boost::asio::mutable_buffer room = transaction.room(kWholeRequest);
    std::error_code error;
    while (const auto count =
               socket.receive({static_cast<char*>(room.data()), room.size()}, error)) {
        transaction.came(*count);
        if (transaction.readHead() != 0U) return false;
        if (!transaction.isForExtension() || transaction.readBody() != 0) return false;
        if (transaction.bodyIsWhole()) return true;
        room = transaction.roomForBody();
    }
    if (error) transaction.hasBroken(static_cast<uint32_t>(error.value()));
    return false;
}

bool sendAnswer(Transaction& transaction, platform::ClientSocket& socket) {
    for (;;) {
        const auto& [first, second] = transaction.unsent();
        if (first.empty()) return true;
        const auto count = socket.send(first, second);
        if (!count) return false;
        transaction.sent(*count);
    }
}

}  // namespace

void DirectLane::open(Listener& listener) {
    Entrance& entrance = entrances_.emplace_back(listener);
    services_.pool.receive(entrance.socket,
                           [this, &entrance](platform::ListenerSocket&) { receiveAt(entrance); });
}

void DirectLane::close() {
    for (Entrance& entrance : entrances_) entrance.socket.shutDown();
}

void DirectLane::hasArrived() {
    {
        const std::lock_guard lock(mutex_);
        --onTheWay_;
    }
    arrived_.notify_one();
}

void DirectLane::acceptWaiting(const HandOver& take) {
    for (Entrance& entrance : entrances_) {
        for (size_t i = 0; i < kAcceptedInARow; ++i) {
            std::error_code error;
            auto visitor = accept(entrance, error);
            if (!visitor) break;
            take(std::move(*visitor));
        }
    }
}

std::optional<DirectLane::Visitor> DirectLane::accept(Entrance& entrance, std::error_code& error) {
    auto accepted = entrance.socket.accept(error);
    if (!accepted) return std::nullopt;
    tcp::endpoint local = entrance.listener.localEndpoint();
    if (local.address().is_unspecified()) {
        const auto address = accepted->socket.localAddress();
        if (!address) return std::nullopt;
        local = endpointOf(*address);
    }
    ConnectionInfo connection = describe(endpointOf(accepted->remote), local, false);
    return Visitor{std::move(accepted->socket), local.protocol(),
                   std::make_unique<Transaction>(std::move(connection), services_)};
}

void DirectLane::receiveAt(Entrance& entrance) {
    std::error_code error;
    std::optional<Visitor> visitor = accept(entrance, error);
    if (error) {
        // Mostly: out of descriptors. They come back when connections end.
        tellOf(error);
        std::this_thread::sleep_for(kAcceptPause);
    }
    if (!visitor) return;
    if (!serve(*visitor)) handOver(std::move(*visitor));
}

/// Failures and successes may take turns for long.
void DirectLane::tellOf(const std::error_code& error) {
    {
        const std::lock_guard lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        if (now < tellAgain_) return;
        tellAgain_ = now + kTellPause;
    }
    logProblem("cannot accept connections: " + error.message());
}

/// Waits when the event loop is behind.
void DirectLane::handOver(Visitor visitor) {
    visitor.transaction->giveBackRoom();
    {
        std::unique_lock lock(mutex_);
        arrived_.wait(lock, [this] { return onTheWay_ < mostOnTheWay_; });
        ++onTheWay_;
    }
    handOver_(std::move(visitor));
}

/// False when there is something left to do, which may take time.
bool DirectLane::serve(Visitor& visitor) {
    Transaction& transaction = *visitor.transaction;
    if (!receiveRequest(transaction, visitor.socket)) return false;
    if (!transaction.hasRoom() || !transaction.admitsLogin()) return false;
    transaction.callExtension();
    if (!sendAnswer(transaction, visitor.socket)) return false;
    if (!transaction.hasReadAll() || !visitor.socket.hasReadAll()) return false;
    transaction.isOver();
    return true;
}

}  // namespace host
