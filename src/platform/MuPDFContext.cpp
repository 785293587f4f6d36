#include <atomic>
#include <cstdlib>
#include <mutex>

#include "platform/MuPDFAllocationLimit.h"
#include "platform/MuPDFEngine.h"
#include "platform/OutOfMemory.h"

namespace platform {
namespace mupdf {
namespace {

// Font and page caches stay below this; beyond it the engine evicts.
constexpr size_t kStoreLimit = 64u << 20;

// Contexts cloned for worker threads allocate at the same time as the job's own.
struct AllocationLimit {
    std::atomic<long> failFrom = 0;  // 0: no limit
    std::atomic<long> count = 0;
};
AllocationLimit allocationLimit;

bool allocationRefused() {
    const long failFrom = allocationLimit.failFrom.load(std::memory_order_relaxed);
    return failFrom > 0 &&
           allocationLimit.count.fetch_add(1, std::memory_order_relaxed) + 1 >= failFrom;
}

// The system's refusals are noted; the test hook's are not.
void* noted(void* block, size_t size) {
    if (block == nullptr) noteRefusedMemory(size);
    return block;
}

void* limitedMalloc(void*, size_t size) noexcept {
    return allocationRefused() ? nullptr : noted(std::malloc(size), size);
}

void* limitedRealloc(void*, void* old, size_t size) noexcept {
    return allocationRefused() ? nullptr : noted(std::realloc(old, size), size);
}

void limitedFree(void*, void* block) noexcept { std::free(block); }

const fz_alloc_context limitedAllocator = {nullptr, limitedMalloc, limitedRealloc, limitedFree};

// The engine's shared state (allocator, store, fonts, glyph cache) is guarded by these once
// a context has been cloned for another thread. Before that one thread alone uses the engine,
// and the locks, taken on every allocation and reference count, would cost 4 % of a job's
// instructions for nothing. The first clone is made on that thread outside any engine call, so
// no lock is held when locking starts, and locking never stops.
std::mutex engineMutexes[FZ_LOCK_MAX];
std::atomic<bool> enginesShared = false;

void lockEngine(void*, int lock) noexcept {
    if (enginesShared.load(std::memory_order_relaxed)) engineMutexes[lock].lock();
}
void unlockEngine(void*, int lock) noexcept {
    if (enginesShared.load(std::memory_order_relaxed)) engineMutexes[lock].unlock();
}

const fz_locks_context engineLocks = {nullptr, lockEngine, unlockEngine};

// The tool prints nothing but its own messages.
void ignoreMessage(void*, const char*) noexcept {}

bool ignoreMessages(fz_context* ctx) {
    bool set = false;
    fz_var(set);
    fz_try(ctx) {
        fz_set_warning_callback(ctx, ignoreMessage, nullptr);
        fz_set_error_callback(ctx, ignoreMessage, nullptr);
        set = true;
    }
    fz_catch(ctx) { set = false; }
    return set;
}

// Null when the engine cannot allocate the context or set it up; a clone does not take the
// message callbacks of its origin in every engine version.
fz_context* silenced(fz_context* ctx) {
    if (ctx == nullptr || ignoreMessages(ctx)) return ctx;
    fz_drop_context(ctx);
    return nullptr;
}

fz_context* newContext() {
    return silenced(fz_new_context(&limitedAllocator, &engineLocks, kStoreLimit));
}

std::shared_ptr<Context>& processContext() {
    static std::shared_ptr<Context> context;
    return context;
}

}  // namespace

Context::~Context() { fz_drop_context(ctx_); }

std::shared_ptr<Context> sharedContext() {
    std::shared_ptr<Context>& context = processContext();
    if (!context) {
        fz_context* ctx = newContext();
        if (ctx == nullptr) return nullptr;
        context = std::make_shared<Context>(ctx);
    }
    return context;
}

std::shared_ptr<Context> cloneContext(const Context& origin) {
    enginesShared = true;
    fz_context* ctx = silenced(fz_clone_context(origin.get()));
    if (ctx == nullptr) return nullptr;
    return std::make_shared<Context>(ctx);
}

Error errorFromCaught(fz_context* ctx, Error::Code code) {
    Error::Code actual = fz_caught(ctx) == FZ_ERROR_MEMORY ? Error::Code::System : code;
    return makeError(actual, fz_caught_message(ctx));
}

}  // namespace mupdf

void setMuPDFAllocationLimit(long failFrom) {
    mupdf::allocationLimit.count = 0;
    mupdf::allocationLimit.failFrom = failFrom > 0 ? failFrom : 0;
    mupdf::processContext().reset();
}

}  // namespace platform
