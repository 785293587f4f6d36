#pragma once
// The folder for every file the tool shares with the host: $TMPDIR when set and not empty,
// otherwise /tmp.

#include <string>

namespace platform {

std::string temporaryDirectory();

}  // namespace platform
