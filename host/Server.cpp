#include "host/Server.h"

#include <csignal>
#include <list>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "host/ConnectionList.h"
#include "host/HttpSession.h"
#include "host/Log.h"
#include "host/TlsContext.h"
#include "host/WorkerPool.h"

namespace host {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::chrono::milliseconds kAcceptPause{100};

std::string urlOf(bool secure, const tcp::endpoint& endpoint) {
    const std::string address = endpoint.address().to_string();
    return std::string(secure ? "https://" : "http://") +
           (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" +
           std::to_string(endpoint.port()) + "/";
}

}  // namespace

struct Server::Impl {
    struct Listener {
        tcp::acceptor acceptor;
        bool secure;
        std::string url;
    };

    Impl(ServerSettings given, const ExtensionModule& extension)
        : settings(std::move(given)),
          services{settings.limits, extension, pool, connections},
          pool(settings.threads, settings.limits.queueLength) {}

    std::optional<std::string> openListener(const ListenAddress& where, bool secure);
    asio::awaitable<void> acceptFrom(Listener& listener);
    void startOn(Listener& listener, tcp::socket socket);
    void beginStop();

    const ServerSettings settings;
    ConnectionList connections;
    SessionServices services;
    std::shared_ptr<asio::ssl::context> tls;
    asio::io_context io{1};
    asio::signal_set signals{io};
    std::list<Listener> listeners;
    bool stopping = false;
    // After the loop, so that it goes first: its threads hand their results to the loop.
    WorkerPool pool;
};

std::optional<std::string> Server::Impl::openListener(const ListenAddress& where, bool secure) {
    const std::string shown = where.address + " port " + std::to_string(where.port);
    error_code error;
    const asio::ip::address address = asio::ip::make_address(where.address, error);
    if (error) return "cannot listen on " + shown + ": that is no IP address";
    const tcp::endpoint endpoint(address, where.port);
    tcp::acceptor acceptor(io);
    acceptor.open(endpoint.protocol(), error);
    if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    // Each listener is just what it says; 0.0.0.0 and [::] can stand side by side.
    if (!error && address.is_v6()) acceptor.set_option(asio::ip::v6_only(true), error);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(tcp::acceptor::max_listen_connections, error);
    if (error) {
        return "cannot listen on " + shown + ": " + error.message() +
               "; choose another address or stop the program that has it";
    }
    std::string url = urlOf(secure, acceptor.local_endpoint());
    listeners.push_back({std::move(acceptor), secure, std::move(url)});
    return std::nullopt;
}

asio::awaitable<void> Server::Impl::acceptFrom(Listener& listener) {
    asio::steady_timer pause(io);
    bool failing = false;
    for (;;) {
        error_code error;
        tcp::socket socket = co_await listener.acceptor.async_accept(
            asio::redirect_error(asio::use_awaitable, error));
        if (stopping) co_return;
        if (!error) {
            failing = false;
            startOn(listener, std::move(socket));
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

void Server::Impl::startOn(Listener& listener, tcp::socket socket) {
    if (listener.secure) {
        startTlsSession(std::move(socket), *tls, services);
    } else {
        startSession(std::move(socket), services);
    }
}

void Server::Impl::beginStop() {
    if (std::exchange(stopping, true)) return;
    error_code ignored;
    for (Listener& listener : listeners) listener.acceptor.close(ignored);
    signals.cancel(ignored);
    connections.closeIdle();
    io.stop();
}

Server::Server(ServerSettings settings, const ExtensionModule& module)
    : impl_(std::make_unique<Impl>(std::move(settings), module)) {}

Server::~Server() = default;

std::optional<std::string> Server::open() {
    if (!impl_->settings.tls.empty()) {
        std::string problem;
        impl_->tls =
            makeTlsContext(impl_->settings.certificateFile, impl_->settings.keyFile, problem);
        if (impl_->tls == nullptr) return problem;
    }
    for (const bool secure : {false, true}) {
        for (const ListenAddress& where : secure ? impl_->settings.tls : impl_->settings.plain) {
            if (auto problem = impl_->openListener(where, secure)) return problem;
        }
    }
    return std::nullopt;
}

std::vector<std::string> Server::urls() const {
    std::vector<std::string> urls;
    for (const Impl::Listener& listener : impl_->listeners) urls.push_back(listener.url);
    return urls;
}

void Server::stopOnSignals() {
    impl_->signals.add(SIGTERM);
    impl_->signals.add(SIGINT);
    impl_->signals.async_wait([impl = impl_.get()](error_code error, int) {
        if (!error) impl->beginStop();
    });
}

bool Server::run() {
    for (Impl::Listener& listener : impl_->listeners) {
        asio::co_spawn(
            impl_->io, [impl = impl_.get(), &listener] { return impl->acceptFrom(listener); },
            asio::detached);
    }
    impl_->io.run();
    impl_->io.restart();
    const auto deadline = std::chrono::steady_clock::now() + impl_->settings.limits.drainTime;
    impl_->io.run_until(deadline);
    // The last answer may be out while its worker has not come back yet.
    return impl_->pool.waitUntilIdle(deadline);
}

void Server::stop() {
    asio::post(impl_->io, [impl = impl_.get()] { impl->beginStop(); });
}

}  // namespace host
