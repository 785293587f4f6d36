#include "platform/FileLock.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "platform/RegularFile.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

// How often a waiting job looks at the lock and at the stop flag.
constexpr std::chrono::milliseconds kRetryEvery{20};

Error lockError(const std::string& path, const std::string& why) {
    return makeError(Error::Code::System, "cannot lock " + path + ": " + why);
}

// True when path still names the file open as fd.
bool namesFile(const std::string& path, int fd) {
    struct stat named {};
    struct stat held {};
    return ::stat(path.c_str(), &named) == 0 && ::fstat(fd, &held) == 0 &&
           named.st_dev == held.st_dev && named.st_ino == held.st_ino;
}

}  // namespace

Result<FileLock> FileLock::acquire(const std::string& path, std::chrono::milliseconds bound,
                                   const StopFlag& stop) {
    const Clock::time_point deadline = Clock::now() + bound;
    for (;;) {
        const int fd = openRegularFile(path.c_str());
        if (fd < 0) return lockError(path, std::strerror(errno));
        while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            // A file system without locks leaves the job to run unlocked, as it always did.
            if (errno != EWOULDBLOCK && errno != EINTR) return FileLock(fd);
            if (stop.isSet() || Clock::now() >= deadline) {
                ::close(fd);
                return lockError(path, stop.isSet() ? "stopped" : "held by another job too long");
            }
            std::this_thread::sleep_for(kRetryEvery);
        }
        if (namesFile(path, fd)) return FileLock(fd);
        // The holder replaced the file while this job waited: lock the new one.
        ::close(fd);
    }
}

FileLock::FileLock(FileLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }

FileLock::~FileLock() {
    if (fd_ >= 0) ::close(fd_);
}

}  // namespace platform
