#pragma once
// The host's end of the progress channel: a Unix-domain stream socket
// "<temporary directory>/text2linksInfoThread". The worker connects once per message, writes
// one line "getText2LinksProcess:<argument>\n", shuts its side and waits (up to a second) for
// the host to close the connection. The listener serves one connection at a time on its own
// thread and closes it only after the callback has returned, so whatever the callback does,
// such as raising the stop flag, happens before the worker goes on.

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "platform/result.h"

namespace host {

// The argument of one message: "7" for "getText2LinksProcess:7\n"; nullopt for any other line.
std::optional<std::string> readProgressArgument(std::string_view line);

class ProgressListener {
public:
    // Called on the listener's thread with each message's argument ("7", "stop7").
    using Callback = std::function<void(const std::string& argument)>;

    // Binds the socket (replacing one that a host which has gone left behind) and starts the
    // thread. Fails with System when another host listens there or the socket cannot be made.
    static platform::Result<std::unique_ptr<ProgressListener>> start(Callback callback);

    // Stops the thread, waiting for a callback under way, and removes the socket file.
    ~ProgressListener();
    ProgressListener(const ProgressListener&) = delete;
    ProgressListener& operator=(const ProgressListener&) = delete;

    // Messages received so far.
    std::size_t count() const { return count_.load(); }
    const std::string& path() const { return path_; }

private:
    ProgressListener(std::string path, int listener, int wakeRead, int wakeWrite,
                     Callback callback);
    void run();
    void serve(int connection);

    std::string path_;
    int listener_;
    int wakeRead_;
    int wakeWrite_;
    ino_t socketInode_ = 0;
    Callback callback_;
    std::atomic<std::size_t> count_{0};
    std::thread thread_;
};

}  // namespace host
