// Loads a server for a while with the turns of one row: each connection is a thread that takes the
// next turn, makes its requests, times them and checks every answer.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <sys/types.h>

#include "bench/caldav/Workloads.h"

namespace bench {

struct Limits {
    double seconds = 2;
    size_t first = 0;  ///< number of the first turn
    size_t turns = static_cast<size_t>(-1);
};

/// What was seen meanwhile.
struct Load {
    std::vector<double> latencies{};  ///< seconds, one for each turn
    size_t exchanges = 0;             ///< of all turns
    double bytes = 0;                 ///< of all bodies
    double seconds = 0;               ///< of the clock
    double processor = 0;             ///< seconds of the server's processor time
    double others = 0;                ///< seconds of processors busy with something else
    std::string problem{};            ///< why the first wrong answer is wrong; it ends the run

    double processorEach() const {
        return latencies.empty() ? 0 : processor / static_cast<double>(latencies.size());
    }
};

/// Takes one turn at least for each connection.
Load runLoad(const Site& site, const Workload& workload, const Limits& limits);

}  // namespace bench
