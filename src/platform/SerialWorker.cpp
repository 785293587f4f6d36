#include "platform/SerialWorker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace platform {

namespace {

// Enough to keep the thread busy; few enough that a slow disk cannot make memory grow.
constexpr std::size_t kMaxQueued = 64;

}  // namespace

struct SerialWorker::Thread {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> tasks;
    bool closing = false;
    std::thread thread;

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return closing || !tasks.empty(); });
            if (tasks.empty()) return;
            std::function<void()> task = std::move(tasks.front());
            tasks.pop_front();
            lock.unlock();
            changed.notify_all();
            task();
            lock.lock();
        }
    }
};

SerialWorker::SerialWorker() : thread_(std::make_unique<Thread>()) {
    try {
        thread_->thread = std::thread([state = thread_.get()] { state->run(); });
    } catch (const std::system_error&) {
        thread_.reset();
    }
}

SerialWorker::~SerialWorker() {
    if (!thread_) return;
    {
        std::lock_guard lock(thread_->mutex);
        thread_->closing = true;
    }
    thread_->changed.notify_all();
    thread_->thread.join();
}

void SerialWorker::submit(std::function<void()> task) {
    if (!thread_) return task();
    {
        std::unique_lock lock(thread_->mutex);
        thread_->changed.wait(lock, [this] { return thread_->tasks.size() < kMaxQueued; });
        thread_->tasks.push_back(std::move(task));
    }
    thread_->changed.notify_all();
}

}  // namespace platform
