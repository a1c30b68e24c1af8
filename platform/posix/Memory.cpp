#include "platform/Memory.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace platform {

void releaseUnusedMemory() {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

}  // namespace platform
