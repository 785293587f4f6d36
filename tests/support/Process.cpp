#include "support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char** environ;

namespace testsupport {
namespace {

// "NAME=value" texts of this process's environment with the overrides applied.
std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& overrides) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('='));
        if (overrides.count(name) == 0) merged.push_back(text);
    }
    for (const auto& [name, value] : overrides) merged.push_back(name + "=" + value);
    return merged;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

struct Pipe {
    int read = -1;
    int write = -1;
    Pipe() {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) == 0) read = fds[0], write = fds[1];
    }
    ~Pipe() {
        if (read >= 0) ::close(read);
        if (write >= 0) ::close(write);
    }
    void closeWrite() {
        ::close(write);
        write = -1;
    }
};

// Reads both pipes until the child closes them or the deadline passes. False on timeout.
bool drain(Pipe& out, Pipe& err, ProcessResult& result,
           std::chrono::steady_clock::time_point deadline) {
    pollfd fds[2] = {{out.read, POLLIN, 0}, {err.read, POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        const int ready = ::poll(fds, 2, static_cast<int>(left.count()));
        if (ready < 0 && errno != EINTR) return false;
        for (int k = 0; k < 2 && ready > 0; ++k) {
            if (fds[k].fd < 0 || fds[k].revents == 0) continue;
            char buffer[4096];
            const ssize_t n = ::read(fds[k].fd, buffer, sizeof buffer);
            if (n > 0) {
                sinks[k]->append(buffer, static_cast<std::size_t>(n));
            } else if (n == 0 || errno != EINTR) {
                fds[k].fd = -1;  // a negative descriptor makes poll skip the entry
            }
        }
    }
    return true;
}

void collectStatus(pid_t pid, ProcessResult& result) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
}

}  // namespace

ProcessResult runProcess(const std::string& executable, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment,
                         std::chrono::milliseconds timeLimit) {
    ProcessResult result;
    Pipe out;
    Pipe err;
    if (out.read < 0 || err.read < 0) return result;
    std::vector<std::string> argvTexts{executable};
    argvTexts.insert(argvTexts.end(), arguments.begin(), arguments.end());
    std::vector<std::string> envTexts = mergedEnvironment(environment);
    std::vector<char*> argv = pointersTo(argvTexts);
    std::vector<char*> envp = pointersTo(envTexts);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.write, 1);
    posix_spawn_file_actions_adddup2(&actions, err.write, 2);
    pid_t pid = 0;
    const int spawned =
        ::posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) return result;
    result.started = true;

    // Only the child may hold the write ends, or the reads below would never see the end.
    out.closeWrite();
    err.closeWrite();
    if (!drain(out, err, result, std::chrono::steady_clock::now() + timeLimit)) {
        result.timedOut = true;
        ::kill(pid, SIGKILL);
    }
    collectStatus(pid, result);
    return result;
}

}  // namespace testsupport
