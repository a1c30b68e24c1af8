// Memory that the process holds though nothing is in it.
#pragma once

namespace platform {

/// Gives it back to the system; later needs are met from there. Safe from every thread, and others
/// that want memory meanwhile may wait for some milliseconds.
void releaseUnusedMemory();

}  // namespace platform
