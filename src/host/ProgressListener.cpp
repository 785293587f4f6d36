#include "host/ProgressListener.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

#include "platform/TemporaryDirectory.h"

namespace host {
namespace {

using platform::Error;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kMessageName = "getText2LinksProcess:";
constexpr const char* kChannelName = "text2linksInfoThread";
// The worker gives up waiting for us after a second; a line takes far less.
constexpr std::chrono::milliseconds kLineTimeout{1000};
// Longer lines are no message of the worker's.
constexpr std::size_t kLineLimit = 4096;
constexpr int kBacklog = 16;

Error systemError(const std::string& what) {
    return platform::makeError(Error::Code::System, what + ": " + std::strerror(errno));
}

std::optional<sockaddr_un> socketAddress(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

bool isSomeoneListening(const sockaddr_un& address) {
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) return false;
    const bool connected =
        ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    ::close(probe);
    return connected;
}

// Removes a socket file that nobody listens on any more; fails for anything else there.
platform::Status removeStaleSocket(const std::string& path, const sockaddr_un& address) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return platform::Done{};
    if (!S_ISSOCK(info.st_mode)) {
        return platform::makeError(Error::Code::System, path + " exists and is no socket");
    }
    if (isSomeoneListening(address)) {
        return platform::makeError(Error::Code::System, "another host listens on " + path);
    }
    if (::unlink(path.c_str()) != 0) return systemError("cannot remove " + path);
    return platform::Done{};
}

platform::Result<int> bindListener(const std::string& path) {
    const std::optional<sockaddr_un> address = socketAddress(path);
    if (!address) return platform::makeError(Error::Code::System, "path too long: " + path);
    auto stale = removeStaleSocket(path, *address);
    if (!stale) return stale.error();
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return systemError("cannot make a socket");
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0 ||
        ::listen(fd, kBacklog) != 0) {
        Error error = systemError("cannot listen on " + path);
        ::close(fd);
        return error;
    }
    return fd;
}

// Reads up to the first line break, the end of the stream, or the deadline.
std::string readLine(int connection) {
    const Clock::time_point deadline = Clock::now() + kLineTimeout;
    std::string line;
    char buffer[256];
    while (line.size() < kLineLimit && line.find('\n') == std::string::npos) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd entry{connection, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&entry, 1, static_cast<int>(left.count())) <= 0) break;
        const ssize_t n = ::recv(connection, buffer, sizeof buffer, 0);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        line.append(buffer, static_cast<std::size_t>(n));
    }
    return line;
}

}  // namespace

std::optional<std::string> readProgressArgument(std::string_view line) {
    if (!line.starts_with(kMessageName) || !line.ends_with('\n')) return std::nullopt;
    line.remove_prefix(kMessageName.size());
    line.remove_suffix(1);
    if (line.find('\n') != std::string_view::npos) return std::nullopt;
    return std::string(line);
}

platform::Result<std::unique_ptr<ProgressListener>> ProgressListener::start(Callback callback) {
    std::string path = platform::temporaryDirectory() + "/" + kChannelName;
    int wake[2];
    if (::pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0) return systemError("cannot make a pipe");
    auto listener = bindListener(path);
    if (!listener) {
        ::close(wake[0]);
        ::close(wake[1]);
        return listener.error();
    }
    std::unique_ptr<ProgressListener> made(
        new ProgressListener(std::move(path), *listener, wake[0], wake[1], std::move(callback)));
    try {
        made->thread_ = std::thread(&ProgressListener::run, made.get());
    } catch (const std::system_error& failure) {
        return platform::makeError(Error::Code::System,
                                   std::string("cannot start a thread: ") + failure.what());
    }
    return made;
}

ProgressListener::ProgressListener(std::string path, int listener, int wakeRead, int wakeWrite,
                                   Callback callback)
    : path_(std::move(path)),
      listener_(listener),
      wakeRead_(wakeRead),
      wakeWrite_(wakeWrite),
      callback_(std::move(callback)) {
    struct stat info {};
    if (::stat(path_.c_str(), &info) == 0) socketInode_ = info.st_ino;
}

ProgressListener::~ProgressListener() {
    if (thread_.joinable()) {
        const char stop = 1;
        while (::write(wakeWrite_, &stop, 1) < 0 && errno == EINTR) {
        }
        thread_.join();
    }
    // A later host may have replaced the socket file by now; only ours is removed.
    struct stat info {};
    if (::stat(path_.c_str(), &info) == 0 && info.st_ino == socketInode_) ::unlink(path_.c_str());
    ::close(listener_);
    ::close(wakeRead_);
    ::close(wakeWrite_);
}

void ProgressListener::run() {
    for (;;) {
        pollfd entries[2] = {{listener_, POLLIN, 0}, {wakeRead_, POLLIN, 0}};
        if (::poll(entries, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (entries[1].revents != 0) return;
        if (entries[0].revents == 0) continue;
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) continue;
        serve(connection);
        ::close(connection);
    }
}

void ProgressListener::serve(int connection) {
    const std::optional<std::string> argument = readProgressArgument(readLine(connection));
    if (!argument) return;
    ++count_;
    if (!callback_) return;
    try {
        callback_(*argument);
    } catch (...) {
        // A failing callback loses its message; the channel goes on for the next one.
    }
}

}  // namespace host
