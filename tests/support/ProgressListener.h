#pragma once
// Plays the host's side of the progress channel: listens on "<folder>/text2linksInfoThread",
// takes one connection at a time on its own thread, reads the line the tool sends, calls the
// callback with its argument and only then closes the connection. Since the tool waits for that
// close, whatever the callback does (setting the stop flag, say) is done before the tool goes
// on.

#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace testsupport {

class ProgressListener {
public:
    using Callback = std::function<void(const std::string& argument)>;

    // Fails the current test when the socket cannot be set up. backlog is the listen queue.
    explicit ProgressListener(const std::filesystem::path& folder, Callback callback = {},
                              int backlog = 16);
    ~ProgressListener();  // stops the thread and removes the socket file
    ProgressListener(const ProgressListener&) = delete;
    ProgressListener& operator=(const ProgressListener&) = delete;

    // Everything each connection sent, in order ("getText2LinksProcess:7\n").
    std::vector<std::string> received() const;
    // The arguments: each text without the message name and the line break ("7").
    std::vector<std::string> arguments() const;

    const std::filesystem::path& path() const { return path_; }

private:
    void run();
    void serve(int connection);

    std::filesystem::path path_;
    Callback callback_;
    int listener_ = -1;
    int wakeRead_ = -1;
    int wakeWrite_ = -1;
    mutable std::mutex mutex_;
    std::vector<std::string> received_;
    std::thread thread_;
};

}  // namespace testsupport
