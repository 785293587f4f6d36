#include "host/StopFlagFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "platform/TemporaryDirectory.h"

namespace host {
namespace {

using platform::Error;

Error systemError(const std::string& what, const std::string& path) {
    return platform::makeError(Error::Code::System,
                               what + " " + path + ": " + std::strerror(errno));
}

// What the worker accepts: a regular file of ours that is linked nowhere else.
bool isOwnPlainFile(int fd) {
    struct stat info {};
    return ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == ::geteuid() &&
           info.st_nlink == 1;
}

// Maps the region, cleared first when asked; closes fd either way.
platform::Result<std::uint8_t*> mapFlagFile(int fd, bool clear, const std::string& path) {
    if (!isOwnPlainFile(fd)) {
        ::close(fd);
        return platform::makeError(Error::Code::System, path + " is not a plain file of this user");
    }
    // Truncating to nothing first drops a stop request left by an earlier job.
    if ((clear && ::ftruncate(fd, 0) != 0) || ::ftruncate(fd, kStopFlagFileSize) != 0) {
        Error error = systemError("cannot size", path);
        ::close(fd);
        return error;
    }
    void* region = ::mmap(nullptr, kStopFlagFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    const int mapErrno = errno;
    // The mapping keeps the file; the descriptor is no longer needed.
    ::close(fd);
    if (region == MAP_FAILED) {
        errno = mapErrno;
        return systemError("cannot map", path);
    }
    return static_cast<std::uint8_t*>(region);
}

Error unusableIdentifier(const std::string& identifier) {
    return platform::makeError(Error::Code::Argument,
                               "\"" + identifier + "\" cannot identify a job");
}

}  // namespace

bool isUsableIdentifier(const std::string& identifier) {
    return !identifier.empty() && identifier != "." && identifier != ".." &&
           identifier.find_first_of(std::string("/|=\0", 4)) == std::string::npos;
}

std::string stopFlagPath(const std::string& identifier) {
    return platform::temporaryDirectory() + "/Tarn_" + identifier;
}

platform::Result<std::unique_ptr<StopFlagFile>> StopFlagFile::create(
    const std::string& identifier) {
    if (!isUsableIdentifier(identifier)) return unusableIdentifier(identifier);
    std::string path = stopFlagPath(identifier);
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return systemError("cannot create", path);
    auto region = mapFlagFile(fd, true, path);
    if (!region) return region.error();
    return std::unique_ptr<StopFlagFile>(new StopFlagFile(std::move(path), *region, true));
}

platform::Result<std::unique_ptr<StopFlagFile>> StopFlagFile::open(const std::string& identifier) {
    if (!isUsableIdentifier(identifier)) return unusableIdentifier(identifier);
    std::string path = stopFlagPath(identifier);
    const int fd = ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0 && errno == ENOENT) {
        return platform::makeError(Error::Code::Argument,
                                   "no job runs under the identifier \"" + identifier + "\"");
    }
    if (fd < 0) return systemError("cannot open", path);
    auto region = mapFlagFile(fd, false, path);
    if (!region) return region.error();
    return std::unique_ptr<StopFlagFile>(new StopFlagFile(std::move(path), *region, false));
}

StopFlagFile::StopFlagFile(std::string path, std::uint8_t* region, bool owned)
    : path_(std::move(path)), region_(region), owned_(owned) {}

StopFlagFile::~StopFlagFile() {
    ::munmap(region_, kStopFlagFileSize);
    if (owned_) ::unlink(path_.c_str());
}

bool StopFlagFile::isRaised() const {
    return std::atomic_ref<std::uint8_t>(region_[kStopByte]).load(std::memory_order_relaxed) != 0;
}

void StopFlagFile::write(std::uint8_t value) {
    // The worker polls with plain loads; a relaxed store is all it needs to see the change.
    std::atomic_ref<std::uint8_t>(region_[kStopByte]).store(value, std::memory_order_relaxed);
}

}  // namespace host
