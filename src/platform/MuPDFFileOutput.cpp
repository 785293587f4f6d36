// An engine output over a file descriptor. It can read back what it wrote, which the engine
// needs for incremental writes. The callbacks report failure the engine's way, by fz_throw, with
// nothing destructible alive.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/MuPDFEngine.h"

namespace platform {
namespace mupdf {
namespace {

// The writer's offset is kept here rather than asked of the system: the engine asks for it
// once per object it writes, and a whole book has hundreds of thousands of them.
struct FileState {
    int fd;
    int64_t position;
};

FileState* stateOf(void* state) { return static_cast<FileState*>(state); }

void writeToFile(fz_context* ctx, void* state, const void* data, size_t size) noexcept {
    FileState* file = stateOf(state);
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t written = ::write(file->fd, bytes, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot write: %s", std::strerror(errno));
        bytes += written;
        size -= static_cast<size_t>(written);
        file->position += written;
    }
}

void seekInFile(fz_context* ctx, void* state, int64_t offset, int whence) noexcept {
    FileState* file = stateOf(state);
    const off_t position = ::lseek(file->fd, offset, whence);
    if (position < 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot seek: %s", std::strerror(errno));
    file->position = position;
}

int64_t tellInFile(fz_context*, void* state) noexcept { return stateOf(state)->position; }

void truncateFile(fz_context* ctx, void* state) noexcept {
    FileState* file = stateOf(state);
    if (::ftruncate(file->fd, file->position) != 0) {
        fz_throw(ctx, FZ_ERROR_GENERIC, "cannot truncate: %s", std::strerror(errno));
    }
}

void dropFileState(fz_context* ctx, void* state) noexcept { fz_free(ctx, state); }

// Reading back uses pread at the stream's own position, leaving the writer's offset alone.
struct FileReader {
    int fd;
    unsigned char buffer[4096];
};

int readNext(fz_context* ctx, fz_stream* stm, size_t max) noexcept {
    auto* reader = static_cast<FileReader*>(stm->state);
    size_t wanted = std::min(max, sizeof reader->buffer);
    ssize_t got = ::pread(reader->fd, reader->buffer, wanted, stm->pos);
    if (got < 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot read: %s", std::strerror(errno));
    stm->rp = reader->buffer;
    stm->wp = reader->buffer + got;
    stm->pos += got;
    return got == 0 ? EOF : *stm->rp++;
}

void seekReader(fz_context* ctx, fz_stream* stm, int64_t offset, int whence) noexcept {
    auto* reader = static_cast<FileReader*>(stm->state);
    int64_t base = 0;
    if (whence == SEEK_CUR) base = stm->pos - (stm->wp - stm->rp);
    if (whence == SEEK_END) {
        struct stat info;
        if (::fstat(reader->fd, &info) != 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot seek");
        base = info.st_size;
    }
    stm->pos = std::max<int64_t>(0, base + offset);
    stm->rp = stm->wp = reader->buffer;
}

void dropReader(fz_context* ctx, void* state) noexcept { fz_free(ctx, state); }

fz_stream* readBack(fz_context* ctx, void* state) noexcept {
    auto* reader = static_cast<FileReader*>(fz_calloc(ctx, 1, sizeof(FileReader)));
    reader->fd = stateOf(state)->fd;
    fz_stream* stm = fz_new_stream(ctx, reader, readNext, dropReader);  // drops reader on failure
    stm->seek = seekReader;
    return stm;
}

}  // namespace

Result<fz_output*> openFileOutput(fz_context* ctx, int fd) {
    const off_t position = ::lseek(fd, 0, SEEK_CUR);
    if (position < 0) {
        return makeError(Error::Code::System, std::string("cannot write: ") + std::strerror(errno));
    }
    fz_output* out = nullptr;
    fz_var(out);
    fz_try(ctx) {
        auto* state = fz_malloc_struct(ctx, FileState);
        *state = FileState{fd, position};
        // fz_new_output drops the state itself when it fails.
        out = fz_new_output(ctx, 64 * 1024, state, writeToFile, nullptr, dropFileState);
    }
    fz_catch(ctx) { return errorFromCaught(ctx, Error::Code::System); }
    out->seek = seekInFile;
    out->tell = tellInFile;
    out->truncate = truncateFile;
    out->as_stream = readBack;
    return out;
}

}  // namespace mupdf
}  // namespace platform
