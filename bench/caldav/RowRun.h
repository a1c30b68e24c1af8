// Measures one row of the table for one server and beside it the floor, by turns, so that whatever
// else the machine does meets both of them.
#pragma once

#include "bench/caldav/Floor.h"
#include "bench/caldav/Results.h"

namespace bench {

/// The time is divided into slices; the server's processor time for a turn is that of the slice
/// where it was least, as other programs can only add to it.
Result runRow(const Site& site, const FloorPlace& floor, const Workload& workload, double seconds);

/// Does turns once each, until they or the seconds are over: for filling.
Result runOnce(const Site& site, const FloorPlace& floor, const Workload& workload,
               const Limits& limits);

}  // namespace bench
