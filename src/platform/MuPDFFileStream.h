#pragma once
// Internal to the engine layer: a file stream for documents, the engine's own file stream
// without its cost. The engine seeks before nearly every object it reads; its own stream
// forgets its buffer on every seek and reads 4 KB again, which on a book of thousands of pages
// made a hundred thousand system calls. This one keeps a larger window of the file and serves
// seeks inside it from memory.

#include <mupdf/fitz.h>

namespace platform::mupdf {

// Opens path for reading; throws the engine's error (call it inside fz_try) when it cannot.
fz_stream* openFileStream(fz_context* ctx, const char* path);

}  // namespace platform::mupdf
