#pragma once
// Passes the host's stop on to work that cannot poll it itself, such as the engine's run of one
// page's content stream, which only reads an int it is given. While armed, a thread of its own
// polls the stop flag every kPollInterval and sets that int once the flag is set. A page that
// takes less than an interval costs no poll at all; the thread is started on the first arming.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/StopFlag.h"

namespace platform {

class StopRelay {
public:
    static constexpr std::chrono::milliseconds kPollInterval{100};

    StopRelay() = default;
    ~StopRelay();
    StopRelay(const StopRelay&) = delete;
    StopRelay& operator=(const StopRelay&) = delete;

    // Until disarm, sets raised to 1 once stop is set; both must outlive the arming. When no
    // thread can be started, nothing is relayed and the caller's own polls remain.
    void arm(const StopFlag& stop, int& raised);
    void disarm();

private:
    void run();

    std::mutex mutex_;
    std::condition_variable ending_;
    const StopFlag* stop_ = nullptr;
    int* raised_ = nullptr;
    bool closing_ = false;
    std::thread thread_;
};

// Arms relay for the scope's lifetime.
class ArmedStopRelay {
public:
    ArmedStopRelay(StopRelay& relay, const StopFlag& stop, int& raised) : relay_(relay) {
        relay_.arm(stop, raised);
    }
    ~ArmedStopRelay() { relay_.disarm(); }
    ArmedStopRelay(const ArmedStopRelay&) = delete;
    ArmedStopRelay& operator=(const ArmedStopRelay&) = delete;

private:
    StopRelay& relay_;
};

}  // namespace platform
