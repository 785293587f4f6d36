#include "platform/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace platform {

namespace {

Error systemError(const std::string& step, const std::string& path, int error) {
    return makeError(Error::Code::System, step + " " + path + ": " + std::strerror(error));
}

mode_t permissionsFor(const std::string& path) {
    struct stat existing {};
    if (::stat(path.c_str(), &existing) == 0) return existing.st_mode & 07777;
    mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// Fills and closes the open temporary file; errno tells why when it fails.
bool fillAndClose(int fd, std::string_view bytes, mode_t mode) {
    bool ok = writeAll(fd, bytes) && ::fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
    int error = errno;
    if (::close(fd) != 0 && ok) return false;
    errno = error;
    return ok;
}

}  // namespace

Status writeFileAtomically(const std::string& path, std::string_view bytes) {
    std::string pattern = path + ".tmp-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int fd = ::mkstemp(name.data());
    if (fd < 0) return systemError("cannot create a temporary file for", path, errno);
    if (!fillAndClose(fd, bytes, permissionsFor(path))) {
        int error = errno;
        ::unlink(name.data());
        return systemError("cannot write", name.data(), error);
    }
    if (::rename(name.data(), path.c_str()) != 0) {
        int error = errno;
        ::unlink(name.data());
        return systemError("cannot rename over", path, error);
    }
    return Done{};
}

}  // namespace platform
