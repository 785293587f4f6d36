#include <atomic>
#include <cstdlib>

#include "platform/MuPDFAllocationLimit.h"
#include "platform/MuPDFEngine.h"
#include "platform/OutOfMemory.h"

namespace platform {
namespace mupdf {
namespace {

// Font and page caches stay below this; beyond it the engine evicts. A worker's context reads
// page text only, and every worker keeps a store of its own.
constexpr size_t kStoreLimit = 64u << 20;
constexpr size_t kWorkerStoreLimit = 16u << 20;

// Worker threads' contexts allocate at the same time as the job's own.
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

// Null when the engine cannot allocate the context or set it up.
fz_context* silenced(fz_context* ctx) {
    if (ctx == nullptr || ignoreMessages(ctx)) return ctx;
    fz_drop_context(ctx);
    return nullptr;
}

fz_context* newContext(size_t storeLimit) {
    return silenced(fz_new_context(&limitedAllocator, nullptr, storeLimit));
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
        fz_context* ctx = newContext(kStoreLimit);
        if (ctx == nullptr) return nullptr;
        context = std::make_shared<Context>(ctx);
    }
    return context;
}

std::shared_ptr<Context> workerContext() {
    fz_context* ctx = newContext(kWorkerStoreLimit);
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
