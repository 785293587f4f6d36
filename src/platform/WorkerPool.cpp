#include "platform/WorkerPool.h"

#include <sched.h>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace platform {

int usableCores() {
#ifdef __linux__
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
#endif
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

struct WorkerPool::Shared {
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t taskCount = 0;
    std::size_t ahead = 1;
    std::size_t next = 0;   // the first task no thread has started
    std::size_t taken = 0;  // tasks before this one the caller is done with
    bool closing = false;
    std::vector<bool> done;
    std::vector<std::exception_ptr> failures;
    std::vector<std::thread> threads;

    bool mayStart() const { return next < taskCount && next < taken + ahead; }

    void run(const Work& work) {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return closing || next >= taskCount || mayStart(); });
            if (closing || next >= taskCount) return;
            const std::size_t task = next++;
            lock.unlock();
            std::exception_ptr thrown = runCatching(work, task);
            lock.lock();
            done[task] = true;
            failures[task] = thrown;
            changed.notify_all();
        }
    }

    // An exception must not leave the thread: that would end the process.
    static std::exception_ptr runCatching(const Work& work, std::size_t task) {
        try {
            work(task);
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }
};

WorkerPool::WorkerPool(std::vector<Work> workers, std::size_t taskCount, std::size_t ahead)
    : workers_(std::move(workers)), shared_(std::make_unique<Shared>()) {
    shared_->taskCount = taskCount;
    shared_->ahead = std::max<std::size_t>(ahead, 1);
    shared_->done.assign(taskCount, false);
    shared_->failures.assign(taskCount, nullptr);
    // Thread k alone touches workers_[k] from here on; it lets go of it when no task is left.
    for (Work& work : workers_) {
        try {
            shared_->threads.emplace_back([shared = shared_.get(), &work] {
                shared->run(work);
                work = nullptr;
            });
        } catch (const std::system_error&) {
            break;
        }
    }
}

WorkerPool::WorkerPool(Work work, std::size_t taskCount)
    : workers_{std::move(work)}, shared_(std::make_unique<Shared>()) {
    shared_->taskCount = taskCount;
}

WorkerPool::~WorkerPool() {
    {
        std::lock_guard lock(shared_->mutex);
        shared_->closing = true;
    }
    shared_->changed.notify_all();
    for (std::thread& thread : shared_->threads) thread.join();
}

void WorkerPool::take(std::size_t task) {
    Shared& shared = *shared_;
    if (shared.threads.empty()) {
        if (!workers_.empty()) workers_.front()(task);
        return;
    }
    std::unique_lock lock(shared.mutex);
    shared.taken = task;
    shared.changed.notify_all();
    shared.changed.wait(lock, [&shared, task] { return shared.done[task]; });
    if (shared.failures[task]) std::rethrow_exception(shared.failures[task]);
}

}  // namespace platform
