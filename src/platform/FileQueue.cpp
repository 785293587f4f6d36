#include "platform/FileQueue.h"

#include "platform/AtomicFile.h"

namespace platform {

namespace {

// A few dozen small files: one wake-up of the thread each, and little memory held.
constexpr std::size_t kBatchFiles = 32;

}  // namespace

FileQueue::~FileQueue() {
    try {
        handOver();
    } catch (...) {
        // Making a file ran out of memory; finish has told the job, or the job is ending
        // through a failure of its own.
    }
}

void FileQueue::write(std::string path, std::function<bool(const ByteSink& out)> writeContent) {
    batch_.emplace_back(std::move(path), std::move(writeContent));
    if (batch_.size() >= kBatchFiles) handOver();
}

void FileQueue::finish() {
    handOver();
    worker_.finish();
}

void FileQueue::handOver() {
    if (batch_.empty()) return;
    worker_.submit([files = std::move(batch_)] {
        for (const auto& [path, writeContent] : files) {
            static_cast<void>(writeFileAtomically(path, writeContent));
        }
    });
    batch_.clear();
}

}  // namespace platform
