#include "host/Server.h"

#include <csignal>
#include <list>
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include "host/AdminPages.h"
#include "host/HttpSession.h"
#include "host/Listener.h"
#include "host/Log.h"
#include "host/ServiceManager.h"
#include "host/TlsContext.h"

namespace host {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

struct Server::Impl {
    Impl(ServerSettings given, const ExtensionModule& extension)
        : settings(std::move(given)),
          proxies(settings.trustedProxies),
          memory(settings.limits.maxHeld),
          services{settings.limits, extension, proxies, pool,
                   connections,     penalties, memory,  watch},
          adminPages(services, settings.dataDirectory, settings.storeLibrary),
          admin(io, adminPages.all()),
          pool(settings.threads, settings.limits.queueLength) {}

    void startOn(const Listener& listener, tcp::socket socket, ConnectionInfo connection);
    void obeySignals();
    void reload();
    void beginStop();

    const ServerSettings settings;
    const TrustedProxies proxies;
    ConnectionList connections;
    PenaltyBox penalties;
    MemoryBudget memory;
    RequestWatch watch;
    SessionServices services;
    std::shared_ptr<asio::ssl::context> tls;
    asio::io_context io{1};
    asio::signal_set signals{io};
    ServiceManager manager{io};
    std::list<Listener> listeners;
    AdminPages adminPages;
    AdminListener admin;
    bool stopping = false;
    // After the loop, so that it goes first: its threads hand their results to the loop.
    WorkerPool pool;
};

void Server::Impl::startOn(const Listener& listener, tcp::socket socket,
                           ConnectionInfo connection) {
    // Out of room, the ones that have been silent for longest make some.
    if (connections.size() >= settings.limits.maxConnections && !connections.closeOldest()) return;
    if (listener.secure()) {
        startTlsSession(std::move(socket), std::move(connection), *tls, services);
    } else {
        startSession(std::move(socket), std::move(connection), services);
    }
}

void Server::Impl::obeySignals() {
    signals.async_wait([this](error_code error, int signal) {
        if (error) return;
        if (signal != SIGHUP) return beginStop();
        reload();
        obeySignals();
    });
}

/// Connections go on with what they began with.
void Server::Impl::reload() {
    manager.reloading();
    if (tls != nullptr) {
        std::string problem;
        auto fresh = makeTlsContext(settings.certificateFile, settings.keyFile, problem);
        if (fresh == nullptr) logProblem(problem + "; the ones in use are kept");
        if (fresh != nullptr) tls = std::move(fresh);
    }
    if (watch.accessLog != nullptr) {
        if (const auto problem = watch.accessLog->open()) logProblem(*problem);
    }
    manager.ready();
}

void Server::Impl::beginStop() {
    if (std::exchange(stopping, true)) return;
    manager.stopping();
    error_code ignored;
    for (Listener& listener : listeners) listener.close();
    admin.close();
    signals.cancel(ignored);
    connections.closeWaiting();
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
            Listener& listener = impl_->listeners.emplace_back(impl_->io, secure);
            if (auto problem = listener.open(where)) return problem;
        }
    }
    return std::nullopt;
}

std::vector<std::string> Server::urls() const {
    std::vector<std::string> urls;
    for (const Listener& listener : impl_->listeners) urls.push_back(listener.url());
    return urls;
}

std::optional<std::string> Server::openLogs() {
    const ServerSettings& settings = impl_->settings;
    if (settings.accessLog.empty()) return std::nullopt;
    impl_->watch.accessLog =
        std::make_unique<AccessLog>(settings.accessLog, settings.accessLogFormat);
    return impl_->watch.accessLog->open();
}

std::optional<std::string> Server::openAdmin() {
    const std::string& where = impl_->settings.adminListen;
    return where.empty() ? std::nullopt : impl_->admin.open(where);
}

void Server::obeySignals() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) impl_->signals.add(signal);
    impl_->obeySignals();
}

bool Server::run() {
    for (Listener& listener : impl_->listeners) {
        listener.start([impl = impl_.get(), &listener](tcp::socket socket, ConnectionInfo info) {
            impl->startOn(listener, std::move(socket), std::move(info));
        });
    }
    if (!impl_->settings.adminListen.empty()) impl_->admin.start();
    impl_->manager.ready();
    impl_->io.run();
    impl_->io.restart();
    const auto deadline = std::chrono::steady_clock::now() + impl_->settings.limits.drainTime;
    impl_->io.run_until(deadline);
    // The last answer may be out while its worker has not come back yet.
    return impl_->pool.waitUntilIdle(deadline);
}

void Server::reload() {
    asio::post(impl_->io, [impl = impl_.get()] { impl->reload(); });
}

void Server::stop() {
    asio::post(impl_->io, [impl = impl_.get()] { impl->beginStop(); });
}

}  // namespace host
