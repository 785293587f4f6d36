#include "platform/JobSignals.h"

#include <limits.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace platform {
namespace {

constexpr int kSlots = 4;
enum SlotState : int { kFree, kFilling, kRegistered };

// Plain static storage: the handlers may only read memory and call async-signal-safe functions.
struct Slot {
    std::atomic<int> state{kFree};
    char path[PATH_MAX];
};

Slot gSlots[kSlots];
volatile std::sig_atomic_t gSignalled = 0;

static_assert(std::atomic<int>::is_always_lock_free, "the handlers read the slots' states");

void removeTemporaryFiles() {
    for (Slot& slot : gSlots) {
        if (slot.state.load(std::memory_order_acquire) == kRegistered) ::unlink(slot.path);
    }
}

extern "C" void onStopSignal(int signal) {
    const int savedErrno = errno;
    removeTemporaryFiles();
    if (gSignalled != 0) {
        // Asked twice: the job did not get to its end in time; end now, the default way.
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
    gSignalled = 1;
    errno = savedErrno;
}

}  // namespace

void installJobSignals() {
    struct sigaction action {};
    action.sa_handler = onStopSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&action.sa_mask, signal);
    }
    for (int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
    ::signal(SIGXFSZ, SIG_IGN);
}

bool SignalStop::isSet() const { return gSignalled != 0; }

int registerTemporaryFile(const char* path) {
    if (std::strlen(path) >= PATH_MAX) return -1;
    for (int k = 0; k < kSlots; ++k) {
        int expected = kFree;
        if (gSlots[k].state.compare_exchange_strong(expected, kFilling)) {
            std::strcpy(gSlots[k].path, path);
            gSlots[k].state.store(kRegistered, std::memory_order_release);
            return k;
        }
    }
    return -1;
}

void forgetTemporaryFile(int slot) {
    if (slot >= 0 && slot < kSlots) gSlots[slot].state.store(kFree, std::memory_order_release);
}

}  // namespace platform
