#pragma once
// Replacing a file so that readers see either the old or the complete new content, never a
// partial one.

#include <string>
#include <string_view>

#include "platform/result.h"

namespace platform {

// Writes bytes to a temporary file beside path, flushes it to disk and renames it over path.
// A new file gets the permissions the process's umask allows; an existing file keeps its own.
// On failure the temporary file is removed, path is left as it was, and the error says which
// step failed.
Status writeFileAtomically(const std::string& path, std::string_view bytes);

}  // namespace platform
