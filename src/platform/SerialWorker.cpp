#include "platform/SerialWorker.h"

#include <condition_variable>
#include <deque>
#include <exception>
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
    bool running = false;  // a task taken from the queue has not ended yet
    bool closing = false;
    std::exception_ptr failure;
    std::thread thread;

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return closing || !tasks.empty(); });
            if (tasks.empty()) return;
            std::function<void()> task = std::move(tasks.front());
            tasks.pop_front();
            running = true;
            lock.unlock();
            changed.notify_all();
            std::exception_ptr thrown = runCatching(task);
            lock.lock();
            running = false;
            if (thrown && !failure) failure = thrown;
            if (failure) tasks.clear();
            changed.notify_all();
        }
    }

    // An exception must not leave the thread: that would end the process.
    static std::exception_ptr runCatching(const std::function<void()>& task) {
        try {
            task();
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }

    void rethrowFailure() {
        if (failure) std::rethrow_exception(failure);
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
        thread_->rethrowFailure();
        thread_->tasks.push_back(std::move(task));
    }
    thread_->changed.notify_all();
}

void SerialWorker::finish() {
    if (!thread_) return;
    std::unique_lock lock(thread_->mutex);
    thread_->changed.wait(lock, [this] { return thread_->tasks.empty() && !thread_->running; });
    thread_->rethrowFailure();
}

}  // namespace platform
