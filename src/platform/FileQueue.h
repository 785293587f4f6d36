#pragma once
// Files written atomically (see writeFileAtomically) behind the caller, on a worker thread, so
// that the file system's work overlaps the making of the next file. They are handed over in
// batches: a thread woken for every small file spends more on waking than on writing.

#include <string>
#include <utility>
#include <vector>

#include "platform/SerialWorker.h"

namespace platform {

class FileQueue {
public:
    FileQueue() = default;
    // Writes every file still queued before returning.
    ~FileQueue();
    FileQueue(const FileQueue&) = delete;
    FileQueue& operator=(const FileQueue&) = delete;

    // Queues the file. A file that cannot be written leaves its path as it was; whoever reads
    // the files treats a missing one as empty, and there is no one to tell.
    void write(std::string path, std::string bytes);

private:
    void handOver();

    SerialWorker worker_;
    std::vector<std::pair<std::string, std::string>> batch_;
};

}  // namespace platform
