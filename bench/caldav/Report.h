// Prints the results of a run as markdown, a table for each number of events.
#pragma once

#include <vector>

#include "bench/caldav/Results.h"

namespace bench {

void printReport(const std::vector<Result>& results);

}  // namespace bench
