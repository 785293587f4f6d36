#pragma once
// Numbered tasks done on several threads at once and taken back by the caller in order: reading
// and scanning the text of several pages at a time while the caller adds each page's links in
// page order. Each thread has a work function of its own (holding, say, its own document
// handle); results go wherever the work function puts them, and are the caller's to read once
// take() has returned for that task. A thread lets go of its work function, and so of what it
// holds, as soon as no task is left for it: tearing a handle down then overlaps the last tasks
// of the other threads instead of following them.

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace platform {

// The cores this process may run on (its CPU affinity), at least 1.
int usableCores();

class WorkerPool {
public:
    using Work = std::function<void(std::size_t task)>;

    // Starts one thread per work function; the threads take tasks 0 to taskCount - 1 in
    // ascending order, each task once, and start a task only while fewer than ahead tasks
    // before it wait to be taken, so memory stays bounded. When no thread can be started, each
    // task runs with the first work function in take().
    WorkerPool(std::vector<Work> workers, std::size_t taskCount, std::size_t ahead);
    // Every task runs with work on the caller's thread, in take(): no thread is started.
    WorkerPool(Work work, std::size_t taskCount);
    // Starts no further task and waits for the running ones.
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // Waits until task has run, for tasks in ascending order, each once. Throws what the task
    // threw (out of memory); the caller then ends the work.
    void take(std::size_t task);

private:
    struct Shared;
    std::vector<Work> workers_;
    std::unique_ptr<Shared> shared_;
};

}  // namespace platform
