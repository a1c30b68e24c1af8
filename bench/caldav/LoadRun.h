// Runs one row of the table against a server: each connection a thread that takes the next turn,
// makes its requests, times them and checks every answer.
#pragma once

#include <cstddef>

#include <sys/types.h>

#include "bench/caldav/Results.h"
#include "bench/caldav/Workloads.h"

namespace bench {

struct Limits {
    double seconds = 2;
    size_t first = 0;  ///< number of the first turn
    size_t turns = static_cast<size_t>(-1);
    bool warm = true;  ///< with one turn before that does not count
};

/// Ends early at the first wrong answer, which the result's note then tells.
Result runLoad(const Site& site, const Workload& workload, pid_t process, const Limits& limits);

}  // namespace bench
