#include "platform/TemporaryDirectory.h"

#include <cstdlib>

namespace platform {

std::string temporaryDirectory() {
    const char* dir = std::getenv("TMPDIR");
    if (dir != nullptr && *dir != '\0') return dir;
    return "/tmp";
}

}  // namespace platform
