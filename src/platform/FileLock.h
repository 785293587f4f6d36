#pragma once
// An advisory lock (flock) on a file that a job replaces, held for the whole job, so that two
// jobs on one file run one after the other instead of each saving over the other's work. The
// lock is on the file, and a job replaces the file by renaming a new one over it; a job that
// waited therefore takes the lock again on whatever file the name holds once it gets it, and so
// works on what the job before it saved.

#include <chrono>
#include <string>

#include "platform/StopFlag.h"
#include "platform/result.h"

namespace platform {

class FileLock {
public:
    // Locks the regular file at path, waiting at most bound for other holders and giving up as
    // soon as stop is set. Fails on a missing file or anything that is not a regular file
    // (without waiting for it), at the bound, and on a stop. On a file system that has no locks
    // the result holds the file unlocked.
    static Result<FileLock> acquire(const std::string& path, std::chrono::milliseconds bound,
                                    const StopFlag& stop);

    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&&) = delete;
    FileLock(const FileLock&) = delete;
    ~FileLock();  // releases the lock

private:
    explicit FileLock(int fd) : fd_(fd) {}
    int fd_;
};

}  // namespace platform
