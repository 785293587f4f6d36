#pragma once
// Runs the built tool as a child under bounds the robustness tests state: wall time (the child
// is killed at the limit), memory, and the size of any file it writes. Records what the child
// used (peak resident memory, wall time) and captures its output. Children run side by side:
// start several, then poll or wait for each.
//
// Memory: under AddressSanitizer the address space cannot be limited (the shadow memory alone
// reserves terabytes), so the sanitizer's own resident-memory limit is used there; otherwise
// RLIMIT_AS. Either way a child over the bound ends with an error status or a signal, which the
// tests count as a failure.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define PDFA_TOOL_HAS_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PDFA_TOOL_HAS_ASAN 1
#endif
#endif

namespace robustness {

using Clock = std::chrono::steady_clock;

#ifdef PDFA_TOOL_HAS_ASAN
inline constexpr bool kToolHasAsan = true;
#else
inline constexpr bool kToolHasAsan = false;
#endif

struct Limits {
    std::chrono::milliseconds time = std::chrono::seconds(60);
    long memoryMiB = 2048;   // resident under ASan, address space otherwise
    long fileSizeMiB = 256;  // the largest file the child may write (SIGXFSZ beyond)
    // The child is a sanitizer build, as the tool the tests were built with is; false for a
    // build without the sanitizer run from a sanitizer build of the tests.
    bool sanitizedChild = kToolHasAsan;
};

struct ToolResult {
    int exitStatus = -1;  // -1 when the child did not exit by itself
    int signal = 0;       // the signal that ended it, 0 when it exited
    bool timedOut = false;
    std::string out;
    std::string err;
    double seconds = 0;  // from start to exit
    // The child's own peak resident memory, sampled while it runs (a child that ends within
    // one poll may show 0). The kernel's figure for the reaped child would include the memory
    // of this process, which the child shares until its exec.
    long peakMemoryKiB = 0;
    Clock::time_point endedAt;
};

class ToolProcess {
public:
    // Starts executable with arguments (argument 0 is the program name); environment adds to or
    // replaces variables of this process's environment; the child runs in workingDirectory when
    // one is given. started() is false when fork failed.
    ToolProcess(const std::string& executable, const std::vector<std::string>& arguments,
                const std::map<std::string, std::string>& environment = {}, Limits limits = {},
                const std::string& workingDirectory = "")
        : limits_(limits), startedAt_(Clock::now()) {
        int outPipe[2], errPipe[2];
        if (::pipe2(outPipe, O_CLOEXEC) != 0) return;
        if (::pipe2(errPipe, O_CLOEXEC) != 0) {
            closeBoth(outPipe);
            return;
        }
        std::vector<std::string> env = environmentWith(environment, limits);
        std::vector<char*> argv = pointers(arguments);
        std::vector<char*> envp = pointers(env);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(outPipe[1], 1);
            ::dup2(errPipe[1], 2);
            int devNull = ::open("/dev/null", O_RDONLY);
            if (devNull >= 0) ::dup2(devNull, 0);
            applyLimits(limits);
            if (!workingDirectory.empty() && ::chdir(workingDirectory.c_str()) != 0) ::_exit(126);
            ::execve(executable.c_str(), argv.data(), envp.data());
            ::_exit(127);
        }
        ::close(outPipe[1]);
        ::close(errPipe[1]);
        outFd_ = outPipe[0];
        errFd_ = errPipe[0];
        if (pid_ < 0) closeOutput();
    }
    ~ToolProcess() {
        if (pid_ > 0 && !done_) {
            ::kill(pid_, SIGKILL);
            wait();
        }
        closeOutput();
    }
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    bool started() const { return pid_ > 0; }
    pid_t pid() const { return pid_; }
    void kill(int signal) {
        if (pid_ > 0 && !done_) ::kill(pid_, signal);
    }

    // Reads what output is there and reaps the child if it has ended (killing it at the time
    // limit) and samples its memory; true once it has ended. Waits at most waitMs for output.
    bool poll(int waitMs = 0) {
        if (done_ || pid_ <= 0) return true;
        drain(waitMs);
        if (Clock::now() - startedAt_ > limits_.time && !result_.timedOut) {
            result_.timedOut = true;
            ::kill(pid_, SIGKILL);
        }
        result_.peakMemoryKiB = std::max(result_.peakMemoryKiB, residentPeakKiB(pid_));
        int status = 0;
        pid_t reaped = ::waitpid(pid_, &status, WNOHANG);
        if (reaped != pid_) return false;
        finish(status);
        return true;
    }

    const ToolResult& wait() {
        while (!poll(20)) {
        }
        return result_;
    }
    const ToolResult& result() const { return result_; }

private:
    static void closeBoth(int fds[2]) {
        ::close(fds[0]);
        ::close(fds[1]);
    }

    static std::vector<char*> pointers(const std::vector<std::string>& texts) {
        std::vector<char*> result;
        for (const std::string& text : texts) result.push_back(const_cast<char*>(text.c_str()));
        result.push_back(nullptr);
        return result;
    }

    static std::vector<std::string> environmentWith(
        const std::map<std::string, std::string>& overrides, const Limits& limits) {
        std::map<std::string, std::string> merged;
        for (char** entry = environ; *entry != nullptr; ++entry) {
            std::string text(*entry);
            std::size_t equals = text.find('=');
            if (equals != std::string::npos)
                merged[text.substr(0, equals)] = text.substr(equals + 1);
        }
        for (const auto& [name, value] : overrides) merged[name] = value;
        if (limits.sanitizedChild) {
            std::string& asan = merged["ASAN_OPTIONS"];
            asan += (asan.empty() ? "" : ":") + std::string("hard_rss_limit_mb=") +
                    std::to_string(limits.memoryMiB);
        }
        std::vector<std::string> result;
        for (const auto& [name, value] : merged) result.push_back(name + "=" + value);
        return result;
    }

    static void applyLimits(const Limits& limits) {
        struct rlimit none {
            0, 0
        };
        ::setrlimit(RLIMIT_CORE, &none);
        rlim_t fileSize = static_cast<rlim_t>(limits.fileSizeMiB) << 20;
        struct rlimit files {
            fileSize, fileSize
        };
        ::setrlimit(RLIMIT_FSIZE, &files);
        if (!limits.sanitizedChild) {
            rlim_t memory = static_cast<rlim_t>(limits.memoryMiB) << 20;
            struct rlimit space {
                memory, memory
            };
            ::setrlimit(RLIMIT_AS, &space);
        }
    }

    void drain(int waitMs) {
        struct pollfd fds[2] = {{outFd_, POLLIN, 0}, {errFd_, POLLIN, 0}};
        if (outFd_ < 0 && errFd_ < 0) {
            if (waitMs > 0) ::usleep(static_cast<useconds_t>(waitMs) * 1000);
            return;
        }
        if (::poll(fds, 2, waitMs) <= 0) return;
        readInto(outFd_, fds[0].revents, result_.out);
        readInto(errFd_, fds[1].revents, result_.err);
    }

    static void readInto(int& fd, short events, std::string& text) {
        if (fd < 0 || events == 0) return;
        char buffer[4096];
        ssize_t count = ::read(fd, buffer, sizeof buffer);
        if (count > 0) {
            text.append(buffer, static_cast<std::size_t>(count));
        } else if (count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN)) {
            ::close(fd);
            fd = -1;
        }
    }

    // VmHWM of a running process, 0 once it has ended.
    static long residentPeakKiB(pid_t pid) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind("VmHWM:", 0) == 0) return std::strtol(line.c_str() + 6, nullptr, 10);
        }
        return 0;
    }

    void finish(int status) {
        while (outFd_ >= 0 || errFd_ >= 0) drain(100);
        done_ = true;
        result_.endedAt = Clock::now();
        result_.seconds = std::chrono::duration<double>(result_.endedAt - startedAt_).count();
        if (WIFEXITED(status)) result_.exitStatus = WEXITSTATUS(status);
        if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
    }

    void closeOutput() {
        if (outFd_ >= 0) ::close(outFd_);
        if (errFd_ >= 0) ::close(errFd_);
        outFd_ = errFd_ = -1;
    }

    Limits limits_;
    Clock::time_point startedAt_;
    pid_t pid_ = -1;
    int outFd_ = -1;
    int errFd_ = -1;
    bool done_ = false;
    ToolResult result_;
};

// Runs the child to its end.
inline ToolResult runTool(const std::string& executable, const std::vector<std::string>& arguments,
                          const std::map<std::string, std::string>& environment = {},
                          Limits limits = {}, const std::string& workingDirectory = "") {
    ToolProcess child(executable, arguments, environment, limits, workingDirectory);
    if (!child.started()) return {};
    return child.wait();
}

}  // namespace robustness
