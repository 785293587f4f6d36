#include "host/ProgressListener.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "platform/ProgressChannel.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace host {
namespace {

namespace fs = std::filesystem;

TEST(ProgressArgument, ReadsTheArgumentOfOneMessageLine) {
    struct Case {
        const char* line;
        std::optional<std::string> argument;
    };
    const Case cases[] = {
        {"getText2LinksProcess:7\n", "7"},
        {"getText2LinksProcess:stop3\n", "stop3"},
        {"getText2LinksProcess:\n", ""},
        {"getText2LinksProcess:7", std::nullopt},
        {"getText2LinksProcess:7\n8\n", std::nullopt},
        {"otherMessage:7\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        EXPECT_EQ(readProgressArgument(c.line), c.argument);
    }
}

class ProgressListenerTest : public ::testing::Test {
protected:
    testsupport::TempDir tmp;
    testsupport::ScopedTemporaryDirectory scoped{tmp.path()};

    std::mutex mutex;
    std::vector<std::string> arguments;

    ProgressListener::Callback recorder() {
        return [this](const std::string& argument) {
            std::lock_guard<std::mutex> lock(mutex);
            arguments.push_back(argument);
        };
    }
};

TEST_F(ProgressListenerTest, HandsEachMessageOfTheWorkersChannelToTheCallback) {
    auto listener = ProgressListener::start(recorder());
    ASSERT_TRUE(listener) << listener.error().message;
    EXPECT_EQ((*listener)->path(), (tmp.path() / "text2linksInfoThread").string());
    // The channel returns once the host has closed the connection, after the callback.
    EXPECT_TRUE(platform::sendProgressMessage("2"));
    EXPECT_TRUE(platform::sendProgressMessage("5"));
    EXPECT_TRUE(platform::sendProgressMessage("stop5"));
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(arguments, (std::vector<std::string>{"2", "5", "stop5"}));
    EXPECT_EQ((*listener)->count(), 3u);
}

TEST_F(ProgressListenerTest, RemovesItsSocketWhenItStops) {
    {
        auto listener = ProgressListener::start(recorder());
        ASSERT_TRUE(listener);
        EXPECT_TRUE(fs::exists(tmp.path() / "text2linksInfoThread"));
    }
    EXPECT_FALSE(fs::exists(tmp.path() / "text2linksInfoThread"));
    EXPECT_FALSE(platform::sendProgressMessage("1"));
}

TEST_F(ProgressListenerTest, ReplacesASocketThatNobodyListensOn) {
    const fs::path path = tmp.path() / "text2linksInfoThread";
    const int stale = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    ASSERT_EQ(::bind(stale, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(stale);
    auto listener = ProgressListener::start(recorder());
    ASSERT_TRUE(listener) << listener.error().message;
    EXPECT_TRUE(platform::sendProgressMessage("4"));
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(arguments, std::vector<std::string>{"4"});
}

TEST_F(ProgressListenerTest, RefusesToTakeOverAnotherHostsSocket) {
    auto first = ProgressListener::start(recorder());
    ASSERT_TRUE(first);
    auto second = ProgressListener::start(recorder());
    ASSERT_FALSE(second);
    EXPECT_EQ(second.error().code, platform::Error::Code::System);
    EXPECT_EQ(second.error().message,
              "another host listens on " + (tmp.path() / "text2linksInfoThread").string());
    EXPECT_TRUE(platform::sendProgressMessage("1"));
}

TEST_F(ProgressListenerTest, LeavesAFileThatIsNoSocket) {
    std::ofstream(tmp.path() / "text2linksInfoThread") << "mine";
    auto listener = ProgressListener::start(recorder());
    ASSERT_FALSE(listener);
    EXPECT_EQ(listener.error().message,
              (tmp.path() / "text2linksInfoThread").string() + " exists and is no socket");
    EXPECT_TRUE(fs::is_regular_file(tmp.path() / "text2linksInfoThread"));
}

TEST_F(ProgressListenerTest, SkipsLinesThatAreNoMessageAndGoesOn) {
    auto listener = ProgressListener::start(recorder());
    ASSERT_TRUE(listener);
    const int client = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", (*listener)->path().c_str());
    ASSERT_EQ(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::write(client, "hello\n", 6), 6);
    char ignored;
    EXPECT_EQ(::read(client, &ignored, 1), 0);  // the listener closed without an answer
    ::close(client);
    EXPECT_TRUE(platform::sendProgressMessage("3"));
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(arguments, std::vector<std::string>{"3"});
    EXPECT_EQ((*listener)->count(), 1u);
}

TEST_F(ProgressListenerTest, AFailingCallbackLosesOnlyItsMessage) {
    int calls = 0;
    auto listener = ProgressListener::start([&calls](const std::string&) {
        if (++calls == 1) throw std::runtime_error("host failure");
    });
    ASSERT_TRUE(listener);
    EXPECT_TRUE(platform::sendProgressMessage("1"));
    EXPECT_TRUE(platform::sendProgressMessage("2"));
    listener->reset();
    EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace host
