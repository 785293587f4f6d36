#include "platform/StopRelay.h"

#include <atomic>
#include <system_error>

namespace platform {

StopRelay::~StopRelay() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard lock(mutex_);
        closing_ = true;
    }
    ending_.notify_all();
    thread_.join();
}

void StopRelay::arm(const StopFlag& stop, int& raised) {
    if (!thread_.joinable()) {
        try {
            thread_ = std::thread([this] { run(); });
        } catch (const std::system_error&) {
            return;
        }
    }
    std::lock_guard lock(mutex_);
    stop_ = &stop;
    raised_ = &raised;
}

void StopRelay::disarm() {
    std::lock_guard lock(mutex_);
    stop_ = nullptr;
    raised_ = nullptr;
}

void StopRelay::run() {
    std::unique_lock lock(mutex_);
    while (!closing_) {
        ending_.wait_for(lock, kPollInterval);
        if (closing_ || raised_ == nullptr || !stop_->isSet()) continue;
        // The engine reads the int without synchronisation, as it does every cookie's abort.
        std::atomic_ref<int>(*raised_).store(1, std::memory_order_relaxed);
    }
}

}  // namespace platform
