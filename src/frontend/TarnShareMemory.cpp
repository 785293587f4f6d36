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

#include "platform/FileSpace.h"
#include "platform/TemporaryDirectory.h"

namespace frontend {

int gShareMemoryFile = -1;
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
// only a regular file of our own, not linked elsewhere, is accepted for sizing. The host maps the
// file, so its 800 bytes are allocated on the disk: on a full disk that fails, and the job runs
// without a flag rather than let the host's first write raise SIGBUS.
int openFlagFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) return -1;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != ::geteuid() ||
        info.st_nlink != 1 || !platform::reserveFileBytes(fd, kRegionSize)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void forgetName() { std::memset(share_memory_name, 0, sizeof share_memory_name); }

// TarnStopFlag's last answer, in one word so that polls on several threads see it whole: the
// clock's ticks until which it holds, shifted left, with the answer in the low bit. A negative
// word marks the answer stale, each mark with a word of its own, so that a read begun before
// a mark cannot put its answer back over it.
std::atomic<std::int64_t> gLastAnswer{-1};
std::atomic<std::int64_t> gStaleMarks{1};

bool isFresh(std::int64_t word, std::int64_t ticks) { return word >= 0 && ticks < (word >> 1); }

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
    gShareMemoryFile = openFlagFile(path.string());
    if (gShareMemoryFile < 0) forgetName();
    markStopFlagStale();
}

int get_shm_stop_flag(int index) {
    if (index < 0 || index >= kFlagCount || gShareMemoryFile < 0) return 0;
    // Read through the descriptor, not a mapping: a load from a mapped page that the host has
    // cut off (it rewrites the file to reuse it) would raise SIGBUS, while a read just comes back
    // short. So a flag file shorter than the flag holds no stop request.
    std::uint8_t flag = 0;
    return ::pread(gShareMemoryFile, &flag, 1, index) == 1 && flag != 0 ? 1 : 0;
}

bool TarnStopFlag::isSetAt(Clock::time_point now) const {
    const std::int64_t ticks = now.time_since_epoch().count();
    std::int64_t last = gLastAnswer.load(std::memory_order_acquire);
    if (isFresh(last, ticks)) return (last & 1) != 0;
    const bool answer = get_shm_stop_flag(1) == 1;
    const std::int64_t until = (now + kFreshFor).time_since_epoch().count();
    gLastAnswer.compare_exchange_strong(last, (until << 1) | (answer ? 1 : 0),
                                        std::memory_order_acq_rel);
    return answer;
}

void markStopFlagStale() {
    gLastAnswer.store(-gStaleMarks.fetch_add(1, std::memory_order_relaxed),
                      std::memory_order_release);
}

void shareMemoryFree() {
    if (gShareMemoryFile >= 0) {
        ::close(gShareMemoryFile);
        gShareMemoryFile = -1;
        markStopFlagStale();
    }
    if (share_memory_name[0] != '\0') {
        // The host's convention: the name is also released as a POSIX shared-memory object. The
        // file in the temporary directory is the host's to remove.
        ::shm_unlink(share_memory_name);
        forgetName();
    }
}

}  // namespace frontend
