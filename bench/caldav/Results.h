// The figures of one row for one server, and the file that collects them from the programs of one
// run: a line each, fields separated by tabs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

struct Result {
    size_t size = 0;  ///< events that were wanted; the tables are made by it
    std::string server{};
    std::string row{};
    std::string note{};  ///< what went wrong, or a figure that is the whole row
    size_t turns = 0;
    double seconds = 0;         ///< of the clock, for all turns
    double others = 0;          ///< processors that were busy with something else
    double bytes = 0;           ///< of the bodies of a turn
    double processor = 0;       ///< seconds of the server's processor time for a turn
    double floorProcessor = 0;  ///< and of the floor's
    double p50 = 0;             ///< seconds that a turn took for half of them, and so on
    double p95 = 0;
    double p99 = 0;
    double floorP50 = 0;
};

void addResult(const std::string& file, const Result& result);
std::vector<Result> readResults(const std::string& file);

}  // namespace bench
