// The figures of one row for one server, and the file that collects them from the programs of one
// run: a line each, fields separated by tabs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/caldav/Workloads.h"

namespace bench {

struct Result {
    size_t size = 0;  ///< events that were wanted; the tables are made by it
    std::string server{};
    std::string row{};
    Floor floor = Floor::answer;
    bool keepAlive = false;
    unsigned connections = 1;
    size_t turns = 0;
    size_t exchanges = 0;  ///< of all turns
    double bytes = 0;      ///< of all bodies
    double seconds = 0;    ///< of the clock
    double processor = 0;  ///< seconds of the server's processor time
    double others = 0;     ///< processors that were busy with something else
    double median = 0;     ///< seconds, and the next two
    double most = 0;       ///< the 95th percentile
    double nearlyAll = 0;  ///< the 99th
    std::string note{};    ///< what went wrong, or a figure that stands for the whole row

    /// Sets the number of turns and the percentiles.
    void takeLatencies(std::vector<double> latencies);
    double processorEach() const;
    double bytesEach() const;
};

/// What stands for the server in results of the floor.
constexpr const char* kFloorName = "floor";

void addResult(const std::string& file, const Result& result);
std::vector<Result> readResults(const std::string& file);

}  // namespace bench
