#include "support/ProgressListener.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

namespace testsupport {

namespace {

constexpr const char* kMessageName = "getText2LinksProcess:";
// A sender that neither finishes nor closes is given up after this long.
constexpr int kReadTimeoutMs = 5000;

int listenAt(const std::filesystem::path& path, int backlog) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof(address.sun_path)) return -1;
    std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(fd, backlog) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

std::string readUntilClosed(int connection) {
    std::string bytes;
    char buffer[256];
    for (;;) {
        pollfd entry{connection, POLLIN, 0};
        if (::poll(&entry, 1, kReadTimeoutMs) <= 0) break;
        const ssize_t n = ::read(connection, buffer, sizeof(buffer));
        if (n <= 0) break;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    return bytes;
}

std::string argumentOf(std::string text) {
    if (text.rfind(kMessageName, 0) == 0) text.erase(0, std::strlen(kMessageName));
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

}  // namespace

ProgressListener::ProgressListener(const std::filesystem::path& folder, Callback callback,
                                   int backlog)
    : path_(folder / "text2linksInfoThread"), callback_(std::move(callback)) {
    listener_ = listenAt(path_, backlog);
    int pipe[2];
    if (listener_ < 0 || ::pipe2(pipe, O_CLOEXEC) != 0) {
        ADD_FAILURE() << "cannot listen at " << path_;
        return;
    }
    wakeRead_ = pipe[0];
    wakeWrite_ = pipe[1];
    thread_ = std::thread([this] { run(); });
}

ProgressListener::~ProgressListener() {
    if (thread_.joinable()) {
        const char stop = 's';
        (void)!::write(wakeWrite_, &stop, 1);
        thread_.join();
    }
    for (int fd : {listener_, wakeRead_, wakeWrite_}) {
        if (fd >= 0) ::close(fd);
    }
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void ProgressListener::run() {
    for (;;) {
        pollfd entries[2] = {{listener_, POLLIN, 0}, {wakeRead_, POLLIN, 0}};
        if (::poll(entries, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (entries[1].revents != 0) return;
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) serve(connection);
    }
}

void ProgressListener::serve(int connection) {
    const std::string bytes = readUntilClosed(connection);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back(bytes);
    }
    if (callback_) callback_(argumentOf(bytes));
    ::close(connection);
}

std::vector<std::string> ProgressListener::received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

std::vector<std::string> ProgressListener::arguments() const {
    std::vector<std::string> result;
    for (const std::string& text : received()) result.push_back(argumentOf(text));
    return result;
}

}  // namespace testsupport
