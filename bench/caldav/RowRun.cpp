#include "bench/caldav/RowRun.h"

#include <algorithm>
#include <iterator>

namespace bench {
namespace {

constexpr int kSlices = 5;

/// The slices of one side of a comparison.
struct Side {
    Load sum;
    double leastProcessor = 0;  ///< for a turn

    void add(const Load& slice) {
        const double each = slice.processorEach();
        leastProcessor = sum.latencies.empty() ? each : std::min(leastProcessor, each);
        std::ranges::copy(slice.latencies, std::back_inserter(sum.latencies));
        sum.exchanges += slice.exchanges;
        sum.bytes += slice.bytes;
        sum.seconds += slice.seconds;
        sum.others += slice.others;
        sum.problem = slice.problem;
    }
};

double percentile(const std::vector<double>& sorted, size_t part) {
    return sorted.empty() ? 0 : sorted[(sorted.size() * part - 1) / 100];
}

Result resultOf(const Site& site, const Workload& workload, Side server, Side floor) {
    std::ranges::sort(server.sum.latencies);
    std::ranges::sort(floor.sum.latencies);
    const Load& sum = server.sum;
    Result result{.server = site.server, .row = workload.name};
    result.note = !sum.problem.empty() ? sum.problem : floor.sum.problem;
    if (!result.note.empty() || sum.latencies.empty()) return result;
    const auto turns = static_cast<double>(sum.latencies.size());
    result.turns = sum.latencies.size();
    result.seconds = sum.seconds;
    result.others = sum.others / sum.seconds;
    result.bytes = sum.bytes / turns;
    result.processor = server.leastProcessor;
    result.floorProcessor = floor.leastProcessor;
    result.p50 = percentile(sum.latencies, 50);
    result.p95 = percentile(sum.latencies, 95);
    result.p99 = percentile(sum.latencies, 99);
    result.floorP50 = percentile(floor.sum.latencies, 50);
    return result;
}

}  // namespace

Result runRow(const Site& site, const FloorPlace& floor, const Workload& workload, double seconds) {
    const double slice = seconds / kSlices;
    Side server;
    Side beside;
    // The first turn warms the server up and does not count.
    const Load first = runLoad(site, workload, {.seconds = 0, .turns = 1});
    server.sum.problem = first.problem;
    size_t turns = 1;
    while (server.sum.problem.empty() && server.sum.seconds < seconds) {
        const Load load = runLoad(site, workload, {.seconds = slice, .first = turns});
        server.add(load);
        if (!load.problem.empty()) break;
        turns += load.latencies.size();
        beside.add(runFloor(floor, workload, load, slice / 2));
    }
    return resultOf(site, workload, std::move(server), std::move(beside));
}

Result runOnce(const Site& site, const FloorPlace& floor, const Workload& workload,
               const Limits& limits) {
    Side server;
    Side beside;
    server.add(runLoad(site, workload, limits));
    beside.add(runFloor(floor, workload, server.sum, std::min(1.0, limits.seconds)));
    return resultOf(site, workload, std::move(server), std::move(beside));
}

}  // namespace bench
