#include "host/Server.h"

#include <atomic>
#include <csignal>
#include <list>
#include <utility>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include "host/AdminPages.h"
#include "host/DirectLane.h"
#include "host/HttpSession.h"
#include "host/Listener.h"
#include "host/Log.h"
#include "host/ServiceManager.h"
#include "host/TlsContext.h"

namespace host {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

/// How long busy workers may leave connections waiting.
constexpr std::chrono::milliseconds kLookAfter{5};

bool assign(tcp::socket& socket, DirectLane::Visitor& visitor) {
    const int descriptor = visitor.socket.release();
    error_code error;
    socket.assign(visitor.protocol, descriptor, error);
    // What was not taken is closed.
    if (error) platform::ClientSocket{descriptor};
    return !error;
}

}  // namespace

struct Server::Impl {
    Impl(ServerSettings given, const ExtensionModule& extension)
        : settings(std::move(given)),
          proxies(settings.trustedProxies),
          memory(settings.limits.maxHeld),
          services{settings.limits, extension, proxies, pool,
                   connections,     penalties, memory,  watch},
          adminPages(services, settings.dataDirectory, settings.storeLibrary),
          admin(io, adminPages.all()),
          direct(
              services,
              [this](DirectLane::Visitor visitor) {
                  asio::post(io, [this, visitor = std::move(visitor)]() mutable {
                      direct.hasArrived();
                      goOn(std::move(visitor));
                  });
              },
              2 * settings.threads),
          pool(settings.threads, settings.limits.queueLength) {}

    bool hasRoomForSession();
    void goOn(DirectLane::Visitor visitor);
    void lookAfterDirectLane();
    void obeySignals();
    void startListening();
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
    DirectLane direct;
    asio::steady_timer busyTimer{io};
    std::atomic<bool> allAreBusy = false;
    bool stopping = false;
    // After the loop, so that it goes first: its threads hand their results to the loop.
    WorkerPool pool;
};

/// Out of room, the ones that have been silent for longest make some.
bool Server::Impl::hasRoomForSession() {
    return connections.size() < settings.limits.maxConnections || connections.closeOldest();
}

/// Takes a connection over from the direct lane.
void Server::Impl::goOn(DirectLane::Visitor visitor) {
    const bool hasArrived = visitor.transaction->readHead().has_value();
    // At the end there is no waiting for requests any more.
    if (stopping && !hasArrived) return;
    tcp::socket socket(io);
    if (hasRoomForSession() && assign(socket, visitor)) {
        startSession(std::move(socket), std::move(visitor.transaction), services);
    } else if (hasArrived) {
        visitor.transaction->isOver();
    }
}

/// As long as all workers are busy, connections are accepted here, to wait for one or be refused.
void Server::Impl::lookAfterDirectLane() {
    busyTimer.expires_after(kLookAfter);
    busyTimer.async_wait([this](error_code error) {
        if (error || stopping) return;
        allAreBusy = false;
        if (!pool.allAreBusy() || allAreBusy.exchange(true)) return;
        direct.acceptWaiting([this](DirectLane::Visitor visitor) { goOn(std::move(visitor)); });
        lookAfterDirectLane();
    });
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
        const std::lock_guard lock(watch.mutex);
        if (const auto problem = watch.accessLog->open()) logProblem(*problem);
    }
    manager.ready();
}

void Server::Impl::beginStop() {
    if (std::exchange(stopping, true)) return;
    manager.stopping();
    error_code ignored;
    direct.close();
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

void Server::Impl::startListening() {
    pool.tellWhenAllAreBusy([this] {
        if (allAreBusy.exchange(true)) return;
        asio::post(io, [this] { lookAfterDirectLane(); });
    });
    for (Listener& listener : listeners) {
        if (!listener.secure()) {
            direct.open(listener);
            continue;
        }
        listener.start([this](tcp::socket socket, ConnectionInfo connection) {
            if (!hasRoomForSession()) return;
            startTlsSession(std::move(socket), std::move(connection), *tls, services);
        });
    }
    if (!settings.adminListen.empty()) admin.start();
}

bool Server::run() {
    impl_->startListening();
    impl_->manager.ready();
    // For long there may be nothing to wait for but what workers hand over.
    auto notDoneYet = asio::make_work_guard(impl_->io);
    impl_->io.run();
    notDoneYet.reset();
    const auto deadline = std::chrono::steady_clock::now() + impl_->settings.limits.drainTime;
    // Workers may leave something to the loop until the last of them is through.
    for (bool isIdle = false;;) {
        impl_->io.restart();
        impl_->io.run_until(deadline);
        if (isIdle) return true;
        isIdle = impl_->pool.waitUntilIdle(deadline);
        if (!isIdle) return false;
    }
}

void Server::reload() {
    asio::post(impl_->io, [impl = impl_.get()] { impl->reload(); });
}

void Server::stop() {
    asio::post(impl_->io, [impl = impl_.get()] { impl->beginStop(); });
}

}  // namespace host
