// The file as the engine reads it while it opens a document, with a bound on how much it may
// read. Opening reads a sound file less than once and repairing a damaged one about twice (the
// shared corpus, whole and cut short at four lengths each). But when objects are packed into an
// object stream that is cut short, the engine's repair reloads and reparses that stream for
// every object packed in it: a file of 1 MiB took more than ten minutes. Past the bound a read
// fails, and so does every read once the host has asked the job to stop and the opening has read
// more than a sound document's opening ever does: a damaged file of gigabytes is otherwise read
// to its end before the job can look at the flag, while a sound document still opens, so that a
// stopped job writes what it always wrote.
#include "platform/MuPDFEngine.h"
#include "platform/MuPDFFileStream.h"

namespace platform {
namespace mupdf {
namespace {

// Room for eight readings of the file, and for the scattered small reads of tiny files.
constexpr std::int64_t kBudgetPerFileByte = 8;
constexpr std::int64_t kBudgetBase = 1 << 20;
// Opening a sound document reads its cross-reference and trailer, megabytes at most; only a
// repair, which scans the whole file, reads more.
constexpr std::int64_t kStopHeardAfter = std::int64_t{64} << 20;

struct BudgetedFile {
    fz_stream* file;
    const StopFlag* stop;
    std::int64_t budget;
    std::int64_t remaining;
    int limited;
    ReadBudgetEnd end;
};

// Hands out the file's own buffer, counted as consumed; what the engine leaves unread before
// it seeks is given back to the budget, so the count is what the engine actually parsed.
int nextChunk(fz_context* ctx, fz_stream* stream, size_t max) noexcept {
    auto* state = static_cast<BudgetedFile*>(stream->state);
    if (state->limited) {
        const bool spent = state->remaining <= 0;
        const bool stopped =
            state->budget - state->remaining > kStopHeardAfter && state->stop->isSet();
        if (spent || stopped) {
            // The error the engine raises for data not there yet: its repair passes it on
            // instead of going on to the next object, so the open ends here.
            state->end = spent ? ReadBudgetEnd::Spent : ReadBudgetEnd::Stopped;
            fz_throw(ctx, FZ_ERROR_TRYLATER, "read budget spent");
        }
    }
    size_t available = fz_available(ctx, state->file, max);
    if (available == 0) return EOF;
    stream->rp = state->file->rp;
    stream->wp = state->file->rp + available;
    state->file->rp += available;
    stream->pos += static_cast<std::int64_t>(available);
    state->remaining -= static_cast<std::int64_t>(available);
    return *stream->rp++;
}

void seekFile(fz_context* ctx, fz_stream* stream, std::int64_t offset, int whence) noexcept {
    auto* state = static_cast<BudgetedFile*>(stream->state);
    state->remaining += stream->wp - stream->rp;
    fz_seek(ctx, state->file, offset, whence);
    stream->pos = fz_tell(ctx, state->file);
    stream->rp = stream->wp = state->file->rp;
}

void dropFile(fz_context* ctx, void* opaque) noexcept {
    auto* state = static_cast<BudgetedFile*>(opaque);
    fz_drop_stream(ctx, state->file);
    fz_free(ctx, state);
}

std::int64_t fileSize(fz_context* ctx, fz_stream* file) {
    fz_seek(ctx, file, 0, SEEK_END);
    std::int64_t size = fz_tell(ctx, file);
    fz_seek(ctx, file, 0, SEEK_SET);
    return size;
}

BudgetedFile* stateOf(fz_stream* stream) { return static_cast<BudgetedFile*>(stream->state); }

}  // namespace

Result<fz_stream*> openBudgetedFile(fz_context* ctx, const char* path, const StopFlag& stop) {
    fz_stream* file = nullptr;
    fz_stream* stream = nullptr;
    fz_var(file);
    fz_var(stream);
    fz_try(ctx) {
        file = openFileStream(ctx, path);
        const std::int64_t size = fileSize(ctx, file);
        auto* state = fz_malloc_struct(ctx, BudgetedFile);
        const std::int64_t budget = kBudgetBase + kBudgetPerFileByte * size;
        *state = {file, &stop, budget, budget, 1, ReadBudgetEnd::None};
        file = nullptr;  // the state owns it now, and the stream the state, even if this fails
        stream = fz_new_stream(ctx, state, nextChunk, dropFile);
        stream->seek = seekFile;
    }
    fz_catch(ctx) {
        fz_drop_stream(ctx, file);
        return errorFromCaught(ctx, Error::Code::Format);
    }
    return stream;
}

ReadBudgetEnd readBudgetEnd(fz_stream* stream) { return stateOf(stream)->end; }

void liftReadBudget(fz_stream* stream) { stateOf(stream)->limited = 0; }

}  // namespace mupdf
}  // namespace platform
