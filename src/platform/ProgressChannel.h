#pragma once
// Progress messages to the host: a Unix-domain stream socket named "text2linksInfoThread" in
// the temporary directory. Each message connects afresh, writes one UTF-8 line
// "getText2LinksProcess:<argument>\n", shuts its writing side and, as a synchronous message
// would, waits up to a second for the host to close its end (anything the host answers is
// ignored), then closes. After one message that waited the whole second, the process no longer
// waits for that listening socket's close. When nothing listens, the listener belongs to another
// user (its credentials as the socket reports them), the listener's queue is full, or the write
// would block for 100 ms, the message is dropped. SIGPIPE is never raised.

#include <string>

namespace platform {

inline constexpr const char* kProgressChannelName = "text2linksInfoThread";

// True when the message was handed to a listener.
bool sendProgressMessage(const std::string& argument);

}  // namespace platform
