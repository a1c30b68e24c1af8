#include "bench/caldav/LoadRun.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <mutex>
#include <thread>

#include "bench/caldav/ProcessTree.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// What the connections of one row share.
struct Load {
    const Site& site;
    const Workload& workload;
    const Limits& limits;
    Clock::time_point begin = Clock::now();
    std::atomic<size_t> next{0};
    std::atomic<bool> over{false};
    std::mutex mutex{};
    std::vector<double> latencies{};  ///< and what follows: guarded by the mutex
    double bodyBytes = 0;
    size_t exchanges = 0;
    std::string problem{};
};

/// One turn, its answers checked after the clock has stopped.
void runTurn(Load& load, HttpClient& client, size_t number) {
    const Turn turn = load.workload.turn(load.site, number);
    double seconds = 0;
    double bytes = 0;
    std::string problem;
    for (const Exchange& exchange : turn) {
        const Clock::time_point begin = Clock::now();
        const HttpAnswer answer = client.ask(exchange.request);
        seconds += secondsSince(begin);
        bytes += static_cast<double>(answer.body.size());
        problem = problemOf(answer, exchange.expected);
        if (!problem.empty()) break;
    }
    const std::lock_guard guard(load.mutex);
    if (!problem.empty()) {
        load.problem = problem;
        load.over = true;
        return;
    }
    load.latencies.push_back(seconds);
    load.bodyBytes += bytes;
    load.exchanges += turn.size();
}

void serveConnection(Load& load) {
    HttpClient client(load.site.host, load.site.port);
    do {
        const size_t number = load.next++;
        if (number >= load.limits.turns) return;
        runTurn(load, client, load.limits.first + number);
    } while (!load.over && secondsSince(load.begin) < load.limits.seconds);
}

void runConnections(Load& load) {
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < load.workload.connections; ++i) {
        threads.emplace_back(serveConnection, std::ref(load));
    }
    for (std::thread& thread : threads) thread.join();
}

double ownSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace

Result runLoad(const Site& site, const Workload& workload, pid_t process, const Limits& limits) {
    Site asked = site;
    asked.keepAlive = workload.keepAlive;
    Result result{.server = site.server, .row = workload.name, .floor = workload.floor};
    result.keepAlive = workload.keepAlive;
    result.connections = workload.connections;
    if (limits.warm) {
        const Limits one{.seconds = 0, .turns = 1};
        Load warming{.site = asked, .workload = workload, .limits = one};
        serveConnection(warming);
        result.note = warming.problem;
        if (!result.note.empty()) return result;
    }
    const double serverBefore = processorSeconds(process);
    const double ownBefore = ownSeconds();
    const double machineBefore = machineSeconds();
    Load load{.site = asked, .workload = workload, .limits = limits};
    runConnections(load);
    result.seconds = secondsSince(load.begin);
    result.processor = processorSeconds(process) - serverBefore;
    const double others =
        machineSeconds() - machineBefore - result.processor - (ownSeconds() - ownBefore);
    result.others = std::max(0.0, others) / result.seconds;

    result.takeLatencies(std::move(load.latencies));
    result.bytes = load.bodyBytes;
    result.exchanges = load.exchanges;
    result.note = load.problem;
    return result;
}

}  // namespace bench
