#pragma once
// Inputs are opened without blocking and only when they are regular files: opening a FIFO for
// reading waits for a writer, and a device or a folder is no document.

namespace platform {

// A read-only descriptor of the regular file at path (close-on-exec), or -1 with errno set
// (EINVAL for anything that is not a regular file). Never waits.
int openRegularFile(const char* path);

}  // namespace platform
