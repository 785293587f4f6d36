#include "platform/FileSpace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

bool reserveFileBytes(int fd, off_t size) {
    if (::ftruncate(fd, size) != 0) return false;
#if defined(__APPLE__)
    fstore_t store{F_ALLOCATEALL, F_PEOFPOSMODE, 0, size, 0};
    return ::fcntl(fd, F_PREALLOCATE, &store) != -1;
#else
    // Blocks already allocated cost nothing, so a flag file that exists keeps working on a
    // full disk; bytes already written are kept.
    const int error = ::posix_fallocate(fd, 0, size);
    errno = error;
    return error == 0;
#endif
}

}  // namespace platform
