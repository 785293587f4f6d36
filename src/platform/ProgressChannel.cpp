// Placeholder until the progress channel lands.
#include "platform/ProgressChannel.h"

namespace platform {
bool sendProgressMessage(const std::string&) { return false; }
}  // namespace platform
