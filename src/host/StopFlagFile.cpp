#include "host/StopFlagFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/FileSpace.h"
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

// Sizes the file, cleared first when asked; closes fd on failure. The bytes are allocated on
// the disk, so that a worker or another host that maps the file never meets a page a full disk
// cannot supply.
platform::Result<int> prepareFlagFile(int fd, bool clear, const std::string& path) {
    if (!isOwnPlainFile(fd)) {
        ::close(fd);
        return platform::makeError(Error::Code::System, path + " is not a plain file of this user");
    }
    // Truncating to nothing first drops a stop request left by an earlier job.
    if ((clear && ::ftruncate(fd, 0) != 0) ||
        !platform::reserveFileBytes(fd, static_cast<off_t>(kStopFlagFileSize))) {
        Error error = systemError("cannot size", path);
        ::close(fd);
        return error;
    }
    return fd;
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
    auto file = prepareFlagFile(fd, true, path);
    if (!file) return file.error();
    return std::unique_ptr<StopFlagFile>(new StopFlagFile(std::move(path), *file, true));
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
    auto file = prepareFlagFile(fd, false, path);
    if (!file) return file.error();
    return std::unique_ptr<StopFlagFile>(new StopFlagFile(std::move(path), *file, false));
}

StopFlagFile::StopFlagFile(std::string path, int fd, bool owned)
    : path_(std::move(path)), fd_(fd), owned_(owned) {}

StopFlagFile::~StopFlagFile() {
    ::close(fd_);
    if (owned_) ::unlink(path_.c_str());
}

// Through the descriptor rather than a mapping: a file that someone cut short would make a
// mapped access raise SIGBUS; a read of a missing byte just says "not raised".
bool StopFlagFile::isRaised() const {
    std::uint8_t value = 0;
    return ::pread(fd_, &value, 1, kStopByte) == 1 && value != 0;
}

void StopFlagFile::write(std::uint8_t value) {
    // A failed write cannot be mended here; the job then runs to its end.
    (void)::pwrite(fd_, &value, 1, kStopByte);
}

}  // namespace host
