#include "host/Job.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "frontend/security.h"

extern char** environ;

namespace host {
namespace {

using platform::Error;
using Clock = std::chrono::steady_clock;

// How often a wait with a time limit looks at the worker.
constexpr std::chrono::milliseconds kWaitStep{5};

Error systemError(const std::string& what, int code = errno) {
    return platform::makeError(Error::Code::System, what + ": " + std::strerror(code));
}

// "host<pid>-<n>": unique among this process's jobs and, through the pid, among running hosts.
std::string makeIdentifier() {
    static std::atomic<unsigned> counter{0};
    return "host" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
}

std::string readAll(int fd) {
    std::string text;
    if (fd < 0 || ::lseek(fd, 0, SEEK_SET) != 0) return text;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return text;
        text.append(buffer, static_cast<std::size_t>(n));
    }
}

void closeIfOpen(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

// The child's standard input is empty; what it prints goes to two memory files of ours.
class SpawnActions {
public:
    SpawnActions() { ok_ = ::posix_spawn_file_actions_init(&actions_) == 0; }
    ~SpawnActions() {
        if (ok_) ::posix_spawn_file_actions_destroy(&actions_);
    }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    bool redirect(int out, int err) {
        return ok_ &&
               ::posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDONLY, 0) == 0 &&
               ::posix_spawn_file_actions_adddup2(&actions_, out, 1) == 0 &&
               ::posix_spawn_file_actions_adddup2(&actions_, err, 2) == 0;
    }
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
    bool ok_ = false;
};

// The child starts with no signal blocked or ignored, whatever the host does with them, and in
// a process group of its own: a terminal's interrupt reaches the host, which stops the job
// through the stop flag so that it still writes what it has.
class SpawnAttributes {
public:
    SpawnAttributes() {
        sigset_t none;
        sigset_t defaults;
        sigemptyset(&none);
        sigemptyset(&defaults);
        for (int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) {
            sigaddset(&defaults, signal);
        }
        ok_ = ::posix_spawnattr_init(&attributes_) == 0;
        ok_ = ok_ && ::posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
              ::posix_spawnattr_setsigdefault(&attributes_, &defaults) == 0 &&
              ::posix_spawnattr_setpgroup(&attributes_, 0) == 0 &&
              ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK |
                                                           POSIX_SPAWN_SETSIGDEF |
                                                           POSIX_SPAWN_SETPGROUP) == 0;
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    bool isReady() const { return ok_; }
    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
    bool ok_ = false;
};

}  // namespace

platform::Result<std::unique_ptr<Job>> Job::start(const std::string& tool, JobKind kind,
                                                  SettingsText settings) {
    if (auto missing = settings.missingFor(kind)) {
        return platform::makeError(Error::Code::Argument,
                                   "the setting \"" + std::string(*missing) + "\" is missing");
    }
    std::string identifier = settings.value("identifier").value_or("");
    if (identifier.empty()) {
        identifier = makeIdentifier();
        auto added = settings.set("id", identifier);
        if (!added) return added.error();
    }
    std::unique_ptr<Job> job(new Job(kind, std::move(settings), identifier));
    auto flag = StopFlagFile::create(identifier);
    if (!flag) return flag.error();
    job->stopFlag_ = std::move(*flag);
    job->snapshot_ = OutputSnapshot::take(kind, job->settings_);
    auto spawned = job->spawn(tool);
    if (!spawned) return spawned.error();
    return job;
}

Job::Job(JobKind kind, SettingsText settings, std::string identifier)
    : kind_(kind), settings_(std::move(settings)), identifier_(std::move(identifier)) {}

platform::Status Job::spawn(const std::string& tool) {
    outCapture_ = ::memfd_create("PDFAnnotations-stdout", MFD_CLOEXEC);
    errCapture_ = ::memfd_create("PDFAnnotations-stderr", MFD_CLOEXEC);
    SpawnActions actions;
    SpawnAttributes attributes;
    if (outCapture_ < 0 || errCapture_ < 0 || !actions.redirect(outCapture_, errCapture_) ||
        !attributes.isReady()) {
        return systemError("cannot prepare the worker's start");
    }
    const std::string program = tool.empty() ? kToolName : tool;
    std::string mode = toSwitch(kind_);
    std::string codes = frontend::encodeArgumentCodes(settings_.text());
    char* argv[] = {const_cast<char*>(program.c_str()), mode.data(), codes.data(), nullptr};
    const int failed =
        tool.empty()
            ? ::posix_spawnp(&pid_, program.c_str(), actions.get(), attributes.get(), argv, environ)
            : ::posix_spawn(&pid_, program.c_str(), actions.get(), attributes.get(), argv, environ);
    if (failed != 0) {
        pid_ = -1;
        return platform::makeError(Error::Code::Argument,
                                   "cannot run " + program + ": " + std::strerror(failed));
    }
    return platform::Done{};
}

Job::~Job() {
    if (pid_ > 0 && !exitStatus_) {
        ::kill(pid_, SIGKILL);
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
    }
    closeIfOpen(outCapture_);
    closeIfOpen(errCapture_);
}

platform::Result<std::optional<int>> Job::wait(std::optional<std::chrono::milliseconds> timeout) {
    if (exitStatus_) return exitStatus_;
    const Clock::time_point deadline = Clock::now() + timeout.value_or(kWaitStep);
    for (;;) {
        int status = 0;
        const pid_t ended = ::waitpid(pid_, &status, timeout ? WNOHANG : 0);
        if (ended == pid_) {
            finish(status);
            return exitStatus_;
        }
        if (ended < 0 && errno != EINTR) return systemError("cannot wait for the worker");
        if (ended == 0 && Clock::now() >= deadline) return std::optional<int>();
        if (ended == 0) std::this_thread::sleep_for(kWaitStep);
    }
}

void Job::finish(int waitStatus) {
    exitStatus_ = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -WTERMSIG(waitStatus);
    outputs_ = snapshot_.changedFiles();
    out_ = readAll(outCapture_);
    err_ = readAll(errCapture_);
    closeIfOpen(outCapture_);
    closeIfOpen(errCapture_);
    std::lock_guard<std::mutex> lock(stopFlagMutex_);
    stopFlag_.reset();
}

void Job::stop() {
    std::lock_guard<std::mutex> lock(stopFlagMutex_);
    if (stopFlag_) stopFlag_->raise();
}

std::vector<std::string> Job::writtenFiles() const {
    return exitStatus_ ? outputs_ : snapshot_.changedFiles();
}

}  // namespace host
