#pragma once
// Progress messages to the host: a Unix-domain stream socket named "text2linksInfoThread" in
// the temporary directory. Each message connects afresh, writes one UTF-8 line
// "getText2LinksProcess:<argument>\n" and closes without waiting for an answer. When nothing
// listens, or the write would block for long, the message is dropped.

#include <string>

namespace platform {

inline constexpr const char* kProgressChannelName = "text2linksInfoThread";

// True when the message was handed to a listener.
bool sendProgressMessage(const std::string& argument);

}  // namespace platform
