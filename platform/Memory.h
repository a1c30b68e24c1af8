// Memory that the process holds though nothing is in it.
#pragma once

namespace platform {

/// Keeps up to that much for each thread's next needs, instead of giving it back piece by piece.
/// For the start of a program, before it has threads.
void keepUnusedMemory(int bytesOfThread);

/// Gives it back to the system; later needs are met from there. Safe from every thread, and others
/// that want memory meanwhile may wait for some milliseconds.
void releaseUnusedMemory();

}  // namespace platform
