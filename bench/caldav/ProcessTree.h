// What a server and its children have used so far, as the system tells it in /proc.
#pragma once

#include <sys/types.h>

namespace bench {

/// Processor time, user and system, of a process, its threads and its children, in seconds.
double processorSeconds(pid_t root);

/// The most memory that each of them has had in use, together, in bytes.
double peakMemory(pid_t root);

/// Processor time of everything on this machine, in seconds.
double machineSeconds();

}  // namespace bench
