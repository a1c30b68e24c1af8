#include "platform/Memory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace platform {

void keepUnusedMemory(int bytesOfThread) {
#ifdef __GLIBC__
    ::mallopt(M_TRIM_THRESHOLD, bytesOfThread);
    ::mallopt(M_MMAP_THRESHOLD, bytesOfThread);
#else
    static_cast<void>(bytesOfThread);
#endif
}

void releaseUnusedMemory() {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

}  // namespace platform
