#include "platform/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

int openRegularFile(const char* path) {
    int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return -1;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        const int error = S_ISREG(info.st_mode) ? errno : EINVAL;
        ::close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

}  // namespace platform
