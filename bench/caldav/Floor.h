// The floor: what the same bytes cost without any calendar server. A web server hands out static
// answers of the same size, and a file grows by pieces that are made durable one by one.
#pragma once

#include <string>

#include "bench/caldav/LoadRun.h"

namespace bench {

struct FloorPlace {
    Site site;              ///< of the web server
    std::string directory;  ///< that it serves
};

/// What stands beside some load of a row, for that many seconds.
Load runFloor(const FloorPlace& place, const Workload& workload, const Load& like, double seconds);

}  // namespace bench
