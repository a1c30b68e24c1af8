#include "host/Listener.h"

#include <chrono>
#include <utility>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "host/Log.h"
#include "host/Network.h"

namespace host {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::chrono::milliseconds kAcceptPause{100};

}  // namespace

std::optional<std::string> Listener::open(const ListenAddress& where) {
    const std::string shown = where.address + " port " + std::to_string(where.port);
    error_code error;
    const asio::ip::address address = asio::ip::make_address(where.address, error);
    if (error) return "cannot listen on " + shown + ": that is no IP address";
    const tcp::endpoint endpoint(address, where.port);
    acceptor_.open(endpoint.protocol(), error);
    if (!error) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
    // Each listener is just what it says; 0.0.0.0 and [::] can stand side by side.
    if (!error && address.is_v6()) acceptor_.set_option(asio::ip::v6_only(true), error);
    // Its connections have this from it.
    if (!error) acceptor_.set_option(tcp::no_delay(true), error);
    if (!error) acceptor_.bind(endpoint, error);
    if (!error) acceptor_.listen(tcp::acceptor::max_listen_connections, error);
    if (!error) local_ = acceptor_.local_endpoint(error);
    if (!error) return std::nullopt;
    return "cannot listen on " + shown + ": " + error.message() +
           "; choose another address or stop the program that has it";
}

void Listener::start(Handler handler) {
    handler_ = std::move(handler);
    asio::co_spawn(
        acceptor_.get_executor(), [this] { return accept(); }, asio::detached);
}

void Listener::close() {
    error_code ignored;
    acceptor_.close(ignored);
}

int Listener::release() {
    error_code error;
    return acceptor_.release(error);
}

std::string Listener::url() const {
    const std::string address = local_.address().to_string();
    return std::string(secure_ ? "https://" : "http://") +
           (local_.address().is_v6() ? "[" + address + "]" : address) + ":" +
           std::to_string(local_.port()) + "/";
}

asio::awaitable<void> Listener::accept() {
    asio::steady_timer pause(acceptor_.get_executor());
    bool failing = false;
    while (acceptor_.is_open()) {
        error_code error;
        tcp::endpoint remote;
        tcp::socket socket = co_await acceptor_.async_accept(
            remote, asio::redirect_error(asio::use_awaitable, error));
        if (!acceptor_.is_open()) co_return;
        if (!error) {
            failing = false;
            handOver(std::move(socket), remote);
            continue;
        }
        if (error == asio::error::connection_aborted) continue;
        // Mostly: out of descriptors. They come back when connections end.
        if (!failing) logProblem("cannot accept connections: " + error.message());
        failing = true;
        pause.expires_after(kAcceptPause);
        co_await pause.async_wait(asio::redirect_error(asio::use_awaitable, error));
    }
}

void Listener::handOver(tcp::socket socket, const tcp::endpoint& remote) {
    tcp::endpoint local = local_;
    if (local.address().is_unspecified()) {
        error_code error;
        local = socket.local_endpoint(error);
        if (error) return;
    }
    handler_(std::move(socket), describe(remote, local, secure_));
}

ConnectionInfo describe(const tcp::endpoint& remote, const tcp::endpoint& local, bool secure) {
    return ConnectionInfo{addressText(remote.address()), remote.port(),
                          addressText(local.address()), local.port(), secure};
}

}  // namespace host
