#pragma once
// Files written atomically (see writeFileAtomically) behind the caller, on a worker thread, so
// that the file system's work overlaps the making of the next file. They are handed over in
// batches: a thread woken for every small file spends more on waking than on writing.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/AtomicFile.h"
#include "platform/SerialWorker.h"

namespace platform {

class FileQueue {
public:
    FileQueue() = default;
    // Writes every file still queued before returning, unless making one ran out of memory.
    ~FileQueue();
    FileQueue(const FileQueue&) = delete;
    FileQueue& operator=(const FileQueue&) = delete;

    // Queues the file; its bytes are made on the writing thread and handed to out in pieces
    // (see writeFileAtomically), so that making them (printing an XML file, say) overlaps the
    // caller's work too and the file is never held whole. writeContent must own what it reads.
    // A file that cannot be written leaves its path as it was; whoever reads the files treats a
    // missing one as empty, and there is no one to tell.
    void write(std::string path, std::function<bool(const ByteSink& out)> writeContent);
    // Writes every file queued before returning; throws when making one ran out of memory (the
    // files after it are then not written).
    void finish();

private:
    void handOver();

    SerialWorker worker_;
    std::vector<std::pair<std::string, std::function<bool(const ByteSink&)>>> batch_;
};

}  // namespace platform
