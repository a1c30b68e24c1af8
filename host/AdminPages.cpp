#include "host/AdminPages.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/RunOnPool.h"
#include "host/TimeText.h"
#include "platform/Files.h"
#include "platform/LocalTime.h"

namespace host {
namespace {

using boost::asio::awaitable;

constexpr std::string_view kPlainText = "text/plain; charset=utf-8";
constexpr std::string_view kMetricsText = "text/plain; version=0.0.4; charset=utf-8";
constexpr std::string_view kJson = "application/json";

}  // namespace

AdminPages::AdminPages(SessionServices& services, std::string dataDirectory,
                       const std::string& storeLibrary)
    : services_(services),
      dataDirectory_(std::move(dataDirectory)),
      store_(storeLibrary),
      healthCheck_(services.module, store_, dataDirectory_),
      upSinceMs_(platform::nowUtcMs()) {}

AdminListener::Pages AdminPages::all() {
    return {{"/metrics", [this] { return metrics(); }},
            {"/status", [this] { return status(); }},
            {"/healthz", [this] { return health(); }}};
}

LiveNumbers AdminPages::now() const {
    const WorkerPool::Load load = services_.pool.load();
    return {.upSinceMs = upSinceMs_,
            .connections = services_.connections.size(),
            .queued = load.waiting,
            .running = load.running,
            .heldBytes = services_.memory.held(),
            .unsentMails = unsentMails(),
            .penalties = services_.penalties.counts(),
            .store = store_.figures()};
}

/// Each is a file; those that were given up stand in a directory beside them.
size_t AdminPages::unsentMails() const {
    if (dataDirectory_.empty()) return 0;
    const auto names = platform::listDirectory(dataDirectory_ + "\\Spool");
    return static_cast<size_t>(std::ranges::count_if(
        names, [](const std::string& name) { return name.ends_with(".eml"); }));
}

awaitable<HostAnswer> AdminPages::metrics() {
    const LiveNumbers live = now();
    const std::lock_guard lock(services_.watch.mutex);
    co_return makeDocument(kMetricsText, {}, services_.watch.metrics.text(live));
}

awaitable<HostAnswer> AdminPages::status() {
    const LiveNumbers live = now();
    const std::lock_guard lock(services_.watch.mutex);
    const Metrics& metrics = services_.watch.metrics;
    nlohmann::ordered_json status = {
        {"version", CVWEBDAV_VERSION},
        {"upSince", isoTime(live.upSinceMs)},
        {"upSeconds", (platform::nowUtcMs() - live.upSinceMs) / 1000},
        {"requests", metrics.requests()},
        {"succeeded", metrics.answersOfClass(2) + metrics.answersOfClass(3)},
        {"refused", metrics.answersOfClass(4)},
        {"failed", metrics.answersOfClass(5) + metrics.answersOfClass(0)},
        {"receivedBytes", metrics.receivedBytes()},
        {"sentBytes", metrics.sentBytes()},
        {"connections", live.connections},
        {"queued", live.queued},
        {"running", live.running},
        {"heldBytes", live.heldBytes},
        {"unsentMails", live.unsentMails},
        {"loginFailures", live.penalties.failures},
        {"loginsRefused", live.penalties.refused}};
    services_.watch.recent.addTo(status);
    co_return makeDocument(kJson, {}, status.dump() + "\n");
}

awaitable<HostAnswer> AdminPages::health() {
    const auto problem = std::make_shared<std::optional<std::string>>("the check failed");
    WorkerPool::Job job = [this, problem] { *problem = healthCheck_.run(); };
    const bool accepted = co_await runOnPool(services_.pool, std::move(job));
    if (!accepted) *problem = "the queue of requests is full";
    if (!*problem) co_return makeDocument(kPlainText, {}, "ok\n");
    co_return makeDocument(kPlainText, {}, **problem + "\n", 503);
}

}  // namespace host
