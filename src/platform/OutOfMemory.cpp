#include "platform/OutOfMemory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>

namespace platform {

namespace {

// Below this a refusal means memory is exhausted; above it the request may just be absurd.
constexpr std::size_t kPlausibleRequest = 256u << 20;

std::atomic<bool> refused = false;

// The process's address space in use now (the first figure of /proc/self/statm, in pages);
// 0 when it cannot be read.
std::size_t addressSpaceInUse() {
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (statm == nullptr) return 0;
    unsigned long pages = 0;
    const int read = std::fscanf(statm, "%lu", &pages);
    std::fclose(statm);
    const long pageSize = ::sysconf(_SC_PAGESIZE);
    return read == 1 && pageSize > 0 ? pages * static_cast<std::size_t>(pageSize) : 0;
}

}  // namespace

void noteRefusedMemory(std::size_t bytes) {
    if (bytes > 0 && bytes < kPlausibleRequest) refused = true;
}

bool ranOutOfMemory() { return refused; }

bool hasAddressSpaceLeft(std::size_t bytes) {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return true;
    const std::size_t used = addressSpaceInUse();
    return used < limit.rlim_cur && limit.rlim_cur - used >= bytes;
}

}  // namespace platform
