#include "platform/ProgressChannel.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "support/HostStopFlag.h"
#include "support/ProgressListener.h"
#include "support/TempDir.h"

using platform::sendProgressMessage;
using testsupport::ProgressListener;
using testsupport::ScopedTemporaryDirectory;
using testsupport::TempDir;

namespace {

// A socket bound at the channel's path that never accepts; closing it leaves a stale file.
int bindWithoutAccepting(const std::filesystem::path& folder, int backlog) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (folder / platform::kProgressChannelName).string();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(fd, backlog), 0);
    return fd;
}

}  // namespace

TEST(ProgressChannel, WritesOneLinePerMessage) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    ProgressListener listener(dir.path());
    EXPECT_TRUE(sendProgressMessage("7"));
    EXPECT_TRUE(sendProgressMessage("stop3"));
    EXPECT_TRUE(sendProgressMessage("\xE4\xB8\xAD"));
    EXPECT_EQ(listener.received(),
              (std::vector<std::string>{"getText2LinksProcess:7\n", "getText2LinksProcess:stop3\n",
                                        "getText2LinksProcess:\xE4\xB8\xAD\n"}));
}

TEST(ProgressChannel, WaitsUntilTheHostHandledTheMessage) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    std::atomic<bool> handled{false};
    ProgressListener listener(dir.path(), [&](const std::string&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        handled = true;
    });
    EXPECT_TRUE(sendProgressMessage("1"));
    EXPECT_TRUE(handled);
}

TEST(ProgressChannel, NothingListeningDropsTheMessage) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    EXPECT_FALSE(sendProgressMessage("1"));
    ::close(bindWithoutAccepting(dir.path(), 1));  // leaves a socket file nobody listens on
    EXPECT_TRUE(std::filesystem::exists(dir / platform::kProgressChannelName));
    EXPECT_FALSE(sendProgressMessage("1"));
}

TEST(ProgressChannel, FullListenQueueDropsTheMessage) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    const int fd = bindWithoutAccepting(dir.path(), 0);
    // The first connection waits in the queue; the host never closes it, so the sender gives
    // up waiting after its reply time.
    EXPECT_TRUE(sendProgressMessage("1"));
    EXPECT_FALSE(sendProgressMessage("2"));
    ::close(fd);
}

TEST(ProgressChannel, PathTooLongForASocketDropsTheMessage) {
    TempDir dir;
    const std::filesystem::path deep = dir / std::string(120, 'd');
    std::filesystem::create_directory(deep);
    ScopedTemporaryDirectory tmp(deep);
    EXPECT_FALSE(sendProgressMessage("1"));
}

TEST(ProgressChannel, HostClosingAtOnceRaisesNoSignal) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    auto previous = std::signal(SIGPIPE, SIG_DFL);  // a SIGPIPE would end the test program
    const int fd = bindWithoutAccepting(dir.path(), 4);
    std::thread host([fd] {
        for (int i = 0; i < 20; ++i) {
            const int connection = ::accept(fd, nullptr, nullptr);
            if (connection >= 0) ::close(connection);
        }
    });
    for (int i = 0; i < 20; ++i) (void)sendProgressMessage(std::string(100000, 'x'));
    host.join();
    ::close(fd);
    std::signal(SIGPIPE, previous);
}

// The socket's folder may be writable by others: a listener of another user hears nothing.
TEST(ProgressChannel, ListenerOfAnotherUserGetsNothing) {
    if (::geteuid() != 0) GTEST_SKIP() << "listening as another user needs root";
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = (dir / platform::kProgressChannelName).string();
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    // The socket carries the credentials it listens with.
    ASSERT_EQ(::seteuid(65534), 0);
    const int listened = ::listen(fd, 4);
    ASSERT_EQ(::seteuid(0), 0);
    ASSERT_EQ(listened, 0);
    EXPECT_FALSE(sendProgressMessage("7"));
    const int connection = ::accept(fd, nullptr, nullptr);
    ASSERT_GE(connection, 0);
    char received[64];
    EXPECT_EQ(::read(connection, received, sizeof received), 0) << "the listener got the message";
    ::close(connection);
    ::close(fd);
}

// A host that takes a message and never closes its end costs one wait of the bound, not one per
// message.
TEST(ProgressChannel, HostThatNeverClosesIsWaitedForOnce) {
    TempDir dir;
    ScopedTemporaryDirectory tmp(dir.path());
    const int fd = bindWithoutAccepting(dir.path(), 16);
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    EXPECT_TRUE(sendProgressMessage("1"));
    const Clock::time_point first = Clock::now();
    for (int page = 2; page <= 6; ++page) EXPECT_TRUE(sendProgressMessage(std::to_string(page)));
    const Clock::time_point end = Clock::now();
    EXPECT_GE(first - start, std::chrono::milliseconds(900)) << "the first message did not wait";
    // Five more waits would take five seconds.
    EXPECT_LT(end - first, std::chrono::milliseconds(900)) << "later messages waited again";
    ::close(fd);
}
