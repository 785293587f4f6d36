#include "frontend/TarnShareMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/TemporaryDirectory.h"

namespace frontend {

std::uint8_t* gShareMemory = nullptr;
char share_memory_name[1024] = {};

namespace {

constexpr std::size_t kRegionSize = 800;
constexpr int kFlagCount = 16;

// "." and ".." are path syntax rather than job names; "/" and NUL would change the path.
bool isUsableIdentifier(const std::string& identifier) {
    return identifier.find_first_of(std::string("/\0", 2)) == std::string::npos &&
           identifier != "." && identifier != "..";
}

// The flag file's descriptor, or -1. The temporary directory may be shared with other users, so
// only a regular file of our own, not linked elsewhere, is accepted for truncating and mapping.
int openFlagFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return -1;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::geteuid() ||
        info.st_nlink != 1) {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::uint8_t* mapRegion(int fd) {
    if (::ftruncate(fd, kRegionSize) != 0) return nullptr;
    void* region = ::mmap(nullptr, kRegionSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return region == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(region);
}

void forgetName() { std::memset(share_memory_name, 0, sizeof share_memory_name); }

}  // namespace

void shareMemoryAlloc(const char* identifier) {
    if (identifier != nullptr) shareMemoryAlloc(std::optional<std::string>(identifier));
}

void shareMemoryAlloc(const std::optional<std::string>& identifier) {
    if (!identifier || !isUsableIdentifier(*identifier)) return;
    forgetName();
    std::snprintf(share_memory_name, sizeof share_memory_name, "Tarn_%s", identifier->c_str());
    const std::filesystem::path path =
        std::filesystem::path(platform::temporaryDirectory()) / share_memory_name;
    const int fd = openFlagFile(path.string());
    if (fd >= 0) {
        gShareMemory = mapRegion(fd);
        // The mapping holds the file; the descriptor is no longer needed.
        ::close(fd);
    }
    if (gShareMemory == nullptr) forgetName();
}

int get_shm_stop_flag(int index) {
    if (index < 0 || index >= kFlagCount || gShareMemory == nullptr) return 0;
    // Relaxed: no ordering is needed, only a real load on every poll.
    const std::uint8_t flag =
        std::atomic_ref<std::uint8_t>(gShareMemory[index]).load(std::memory_order_relaxed);
    return flag != 0 ? 1 : 0;
}

void shareMemoryFree() {
    if (gShareMemory != nullptr) {
        // One byte suffices: unmapping covers the whole page the 800 bytes live in.
        ::munmap(gShareMemory, 1);
        gShareMemory = nullptr;
    }
    if (share_memory_name[0] != '\0') {
        // The host's convention: the name is also released as a POSIX shared-memory object. The
        // file in the temporary directory is the host's to remove.
        ::shm_unlink(share_memory_name);
        forgetName();
    }
}

}  // namespace frontend
