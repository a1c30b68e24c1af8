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

constexpr double kLongestTurn = 60;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double ownSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

/// What the connections of one run share.
struct Shared {
    const Site& site;
    const Workload& workload;
    const Limits& limits;
    Clock::time_point begin = Clock::now();
    std::atomic<size_t> next{0};
    std::atomic<bool> over{false};
    std::mutex mutex{};
    Load load{};  ///< guarded by the mutex
};

/// One turn, each answer checked after its clock has stopped.
void runTurn(Shared& shared, HttpClient& client, size_t number) {
    const Turn turn = shared.workload.turn(shared.site, number);
    double seconds = 0;
    double bytes = 0;
    std::string problem;
    for (const Exchange& exchange : turn) {
        const Clock::time_point begin = Clock::now();
        const HttpAnswer answer = client.ask(exchange.request);
        seconds += secondsSince(begin);
        bytes += static_cast<double>(answer.body.size());
        problem = problemOf(answer, exchange.expected);
        if (problem.empty() && seconds > kLongestTurn) problem = "over a minute";
        if (!problem.empty()) break;
    }
    const std::lock_guard guard(shared.mutex);
    if (!problem.empty()) {
        shared.load.problem = problem;
        shared.over = true;
        return;
    }
    shared.load.latencies.push_back(seconds);
    shared.load.bytes += bytes;
    shared.load.exchanges += turn.size();
}

void serveConnection(Shared& shared) {
    HttpClient client(shared.site.host, shared.site.port);
    do {
        const size_t number = shared.next++;
        if (number >= shared.limits.turns) return;
        runTurn(shared, client, shared.limits.first + number);
    } while (!shared.over && secondsSince(shared.begin) < shared.limits.seconds);
}

}  // namespace

Load runLoad(const Site& site, const Workload& workload, const Limits& limits) {
    Site asked = site;
    asked.keepAlive = workload.keepAlive;
    const double serverBefore = processorSeconds(site.process);
    const double ownBefore = ownSeconds();
    const double machineBefore = machineSeconds();
    Shared shared{.site = asked, .workload = workload, .limits = limits};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < workload.connections; ++i) {
        threads.emplace_back(serveConnection, std::ref(shared));
    }
    for (std::thread& thread : threads) thread.join();

    Load load = std::move(shared.load);
    load.seconds = secondsSince(shared.begin);
    load.processor = processorSeconds(site.process) - serverBefore;
    const double own = ownSeconds() - ownBefore;
    load.others = std::max(0.0, machineSeconds() - machineBefore - load.processor - own);
    return load;
}

}  // namespace bench
