#include <cstdlib>

#include "platform/MuPDFAllocationLimit.h"
#include "platform/MuPDFEngine.h"
#include "platform/OutOfMemory.h"

namespace platform {
namespace mupdf {
namespace {

// Font and page caches stay below this; beyond it the engine evicts.
constexpr size_t kStoreLimit = 64u << 20;

struct AllocationLimit {
    long failFrom = 0;  // 0: no limit
    long count = 0;
};
AllocationLimit allocationLimit;

bool allocationRefused() {
    return allocationLimit.failFrom > 0 && ++allocationLimit.count >= allocationLimit.failFrom;
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

fz_context* newContext() {
    fz_context* ctx = fz_new_context(&limitedAllocator, nullptr, kStoreLimit);
    if (ctx == nullptr) return nullptr;
    fz_try(ctx) {
        fz_set_warning_callback(ctx, ignoreMessage, nullptr);
        fz_set_error_callback(ctx, ignoreMessage, nullptr);
    }
    fz_catch(ctx) {
        fz_drop_context(ctx);
        return nullptr;
    }
    return ctx;
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

Error errorFromCaught(fz_context* ctx, Error::Code code) {
    Error::Code actual = fz_caught(ctx) == FZ_ERROR_MEMORY ? Error::Code::System : code;
    return makeError(actual, fz_caught_message(ctx));
}

}  // namespace mupdf

void setMuPDFAllocationLimit(long failFrom) {
    mupdf::allocationLimit = {failFrom > 0 ? failFrom : 0, 0};
    mupdf::processContext().reset();
}

}  // namespace platform
