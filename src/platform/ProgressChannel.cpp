#include "platform/ProgressChannel.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include "platform/TemporaryDirectory.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// A host that is slow to take a message costs the job at most this per message.
constexpr std::chrono::milliseconds kSendTimeout{100};
// Like a synchronous message, the sender lets the host handle the line before going on.
constexpr std::chrono::milliseconds kReplyTimeout{1000};

class Socket {
public:
    Socket() : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {}
    ~Socket() {
        if (fd_ >= 0) close(fd_);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

// Waits until the socket is ready for the events or the deadline passes.
bool waitFor(int fd, short events, Clock::time_point deadline) {
    for (;;) {
        auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return false;
        pollfd entry{fd, events, 0};
        int ready = poll(&entry, 1, static_cast<int>(left.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return false;
    }
}

bool connectTo(int fd, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
        return true;
    }
    // A listener whose queue is full refuses at once rather than making the job wait.
    return false;
}

bool writeAll(int fd, const std::string& bytes, Clock::time_point deadline) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        ssize_t n = send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n > 0) {
            sent += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (!waitFor(fd, POLLOUT, deadline)) return false;
        } else {
            return false;
        }
    }
    return true;
}

// The socket lies in a folder others may write to: only a listener of this program's own user
// hears what the job works on.
bool isOwnUsersListener(int fd) {
    ucred peer{};
    socklen_t length = sizeof(peer);
    return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && length == sizeof(peer) &&
           peer.uid == geteuid();
}

// Reads and ignores whatever the host answers until it closes its end or the time is up; false
// when the time ran out.
bool awaitHostClose(int fd, Clock::time_point deadline) {
    char ignored[64];
    while (waitFor(fd, POLLIN, deadline)) {
        ssize_t n = recv(fd, ignored, sizeof(ignored), 0);
        if (n == 0 || (n < 0 && errno != EINTR && errno != EAGAIN)) return true;
    }
    return false;
}

// A listening socket, told apart from one made later at the same path.
struct SocketIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    timespec changed{};
    bool operator==(const SocketIdentity& other) const {
        return device == other.device && inode == other.inode &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

std::optional<SocketIdentity> identityOf(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) return std::nullopt;
    return SocketIdentity{info.st_dev, info.st_ino, info.st_ctim};
}

// The host that let a message wait the whole bound: it does not close its end, and waiting for
// it again would cost every page of the job that much.
std::optional<SocketIdentity> gHostNotWaitedFor;

}  // namespace

bool sendProgressMessage(const std::string& argument) {
    const std::string path = temporaryDirectory() + "/" + kProgressChannelName;
    // With no host listening (a job run by hand, a host gone), one look at the path and no socket.
    const std::optional<SocketIdentity> host = identityOf(path);
    if (!host) return false;
    Socket channel;
    if (channel.fd() < 0 || !connectTo(channel.fd(), path)) return false;
    if (!isOwnUsersListener(channel.fd())) return false;
    if (!writeAll(channel.fd(), "getText2LinksProcess:" + argument + "\n",
                  Clock::now() + kSendTimeout)) {
        return false;
    }
    shutdown(channel.fd(), SHUT_WR);
    if (gHostNotWaitedFor != host && !awaitHostClose(channel.fd(), Clock::now() + kReplyTimeout)) {
        gHostNotWaitedFor = host;
    }
    return true;
}

}  // namespace platform
