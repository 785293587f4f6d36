#include "support/HostStopFlag.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace testsupport {

HostStopFlag::HostStopFlag(const std::filesystem::path& temporaryDirectory,
                           const std::string& identifier, std::size_t length)
    : path_(temporaryDirectory / ("Tarn_" + identifier)) {
    const int fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0 || ::ftruncate(fd, static_cast<off_t>(length)) != 0) {
        ADD_FAILURE() << "cannot create the stop flag file " << path_;
    }
    if (fd >= 0) ::close(fd);
}

HostStopFlag::~HostStopFlag() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void HostStopFlag::write(std::size_t index, std::uint8_t value) {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0 || ::pwrite(fd, &value, 1, static_cast<off_t>(index)) != 1) {
        ADD_FAILURE() << "cannot write byte " << index << " of " << path_;
    }
    if (fd >= 0) ::close(fd);
}

std::uint8_t HostStopFlag::read(std::size_t index) const {
    std::uint8_t value = 0;
    const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::pread(fd, &value, 1, static_cast<off_t>(index)) != 1) {
        ADD_FAILURE() << "cannot read byte " << index << " of " << path_;
    }
    if (fd >= 0) ::close(fd);
    return value;
}

ScopedTemporaryDirectory::ScopedTemporaryDirectory(const std::filesystem::path& folder) {
    if (const char* value = std::getenv("TMPDIR")) previous_ = value;
    ::setenv("TMPDIR", folder.c_str(), 1);
}

ScopedTemporaryDirectory::~ScopedTemporaryDirectory() {
    if (previous_) {
        ::setenv("TMPDIR", previous_->c_str(), 1);
    } else {
        ::unsetenv("TMPDIR");
    }
}

}  // namespace testsupport
