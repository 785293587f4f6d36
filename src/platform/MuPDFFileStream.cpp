#include "platform/MuPDFFileStream.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/RegularFile.h"
#endif

namespace platform::mupdf {

#if defined(_WIN32)

fz_stream* openFileStream(fz_context* ctx, const char* path) { return fz_open_file(ctx, path); }

#else

namespace {

// Large enough that the objects of a page and its annotations usually share one window.
constexpr size_t kWindowBytes = 64 * 1024;

struct Window {
    int fd = -1;
    int64_t size = 0;   // of the file, for seeks from its end
    int64_t start = 0;  // file offset of buffer[0]
    size_t length = 0;  // bytes valid in buffer
    unsigned char buffer[kWindowBytes];
};

ssize_t readAt(int fd, unsigned char* into, size_t count, int64_t offset) {
    for (;;) {
        ssize_t got = ::pread(fd, into, count, static_cast<off_t>(offset));
        if (got >= 0 || errno != EINTR) return got;
    }
}

// The stream's position (stm->pos) is the file offset just after the bytes between rp and wp.
int nextWindow(fz_context* ctx, fz_stream* stm, size_t) {
    auto* window = static_cast<Window*>(stm->state);
    ssize_t got = readAt(window->fd, window->buffer, kWindowBytes, stm->pos);
    if (got < 0) fz_throw(ctx, FZ_ERROR_GENERIC, "read error: %s", std::strerror(errno));
    window->start = stm->pos;
    window->length = static_cast<size_t>(got);
    stm->rp = window->buffer;
    stm->wp = window->buffer + got;
    stm->pos += got;
    if (got == 0) return EOF;
    return *stm->rp++;
}

void seekWindow(fz_context* ctx, fz_stream* stm, int64_t offset, int whence) {
    auto* window = static_cast<Window*>(stm->state);
    int64_t target = whence == SEEK_END ? window->size + offset : offset;
    if (target < 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot seek before the start of the file");
    const int64_t end = window->start + static_cast<int64_t>(window->length);
    if (target >= window->start && target <= end) {
        stm->rp = window->buffer + (target - window->start);
        stm->wp = window->buffer + window->length;
        stm->pos = end;
        return;
    }
    stm->rp = stm->wp = window->buffer;
    stm->pos = target;
}

void dropWindow(fz_context* ctx, void* state) {
    auto* window = static_cast<Window*>(state);
    ::close(window->fd);
    fz_free(ctx, window);
}

}  // namespace

fz_stream* openFileStream(fz_context* ctx, const char* path) {
    int fd = openRegularFile(path);
    if (fd < 0) fz_throw(ctx, FZ_ERROR_GENERIC, "cannot open %s: %s", path, std::strerror(errno));
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        ::close(fd);
        fz_throw(ctx, FZ_ERROR_GENERIC, "cannot read %s: %s", path, std::strerror(errno));
    }
    Window* window = nullptr;
    fz_try(ctx) { window = fz_malloc_struct(ctx, Window); }
    fz_catch(ctx) {
        ::close(fd);
        fz_rethrow(ctx);
    }
    window->fd = fd;
    window->size = info.st_size;
    // fz_new_stream drops the state itself when it fails.
    fz_stream* stream = fz_new_stream(ctx, window, nextWindow, dropWindow);
    stream->seek = seekWindow;
    return stream;
}

#endif

}  // namespace platform::mupdf
