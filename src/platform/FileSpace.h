#pragma once
// Files that another process maps must really hold their bytes: a page that a full file system
// cannot supply raises SIGBUS in whichever process touches it through its mapping.

#include <sys/types.h>

namespace platform {

// Sets the length of the open file fd to size bytes and allocates them on the file system.
// False, with errno set, when the file cannot be sized or the file system has no room.
bool reserveFileBytes(int fd, off_t size);

}  // namespace platform
