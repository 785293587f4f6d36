#pragma once
// Work handed to a thread of its own and done there one task after another, in the order given,
// so that it overlaps what the caller does next: writing one file per page while the next page
// is read.

#include <functional>
#include <memory>

namespace platform {

class SerialWorker {
public:
    // Starts the thread; when none can be started, every task runs at once in submit().
    SerialWorker();
    // Runs every task still queued before returning.
    ~SerialWorker();
    SerialWorker(const SerialWorker&) = delete;
    SerialWorker& operator=(const SerialWorker&) = delete;

    // Queues the task, waiting while many are queued already so that memory stays bounded. A
    // task must not touch what the caller's thread changes meanwhile. A task that throws (out
    // of memory) ends the work: later tasks are dropped, and the exception is thrown again here
    // by the next submit or by finish.
    void submit(std::function<void()> task);
    // Waits until every task queued has run, then throws what a task threw, if one did.
    void finish();

private:
    struct Thread;
    std::unique_ptr<Thread> thread_;
};

}  // namespace platform
