#include "platform/FreedMemory.h"

#include <cstdlib>  // defines __GLIBC__ on the GNU C library

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace platform {

namespace {

// Well above one page's text on a dense page, well below what a job holds at its peak.
constexpr int kKeptFreeBytes = 32 << 20;

}  // namespace

void keepFreedMemoryForReuse() {
#if defined(__GLIBC__)
    static_cast<void>(mallopt(M_TRIM_THRESHOLD, kKeptFreeBytes));
#endif
}

}  // namespace platform
