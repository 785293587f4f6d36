// Runs one command and records its wall time and peak resident memory:
//
//   measure <result-file> <timeout-seconds> <command> [arguments...]
//
// The result file gets one line "<wall-seconds> <cpu-seconds> <peak-kB> <status>": CPU time is
// user plus system time, status the command's exit status, "signal<N>" or "timeout" (the
// command's process group is killed then). The command's own output goes where measure's goes. Peak
// memory is the largest resident set of the command or of any descendant it waited for (getrusage
// through wait4), so no extra package is needed to read it.

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

double now() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) / 1e9;
}

// Waits for the child's end, up to the deadline; false when it ran out of time.
bool waitForExit(pid_t child, double deadline, int& status, rusage& usage) {
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    for (;;) {
        pid_t done = wait4(child, &status, WNOHANG, &usage);
        if (done == child) return true;
        double left = deadline - now();
        if (left <= 0) return false;
        timespec wait{static_cast<time_t>(left), static_cast<long>((left - (long)left) * 1e9)};
        sigtimedwait(&childSignal, nullptr, &wait);
    }
}

std::string describe(bool finished, int status) {
    if (!finished) return "timeout";
    if (WIFSIGNALED(status)) return "signal" + std::to_string(WTERMSIG(status));
    return std::to_string(WEXITSTATUS(status));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr,
                     "usage: measure <result-file> <timeout-seconds> <command> [args...]\n");
        return 2;
    }
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childSignal, nullptr);
    double start = now();
    pid_t child = fork();
    if (child < 0) return 1;
    if (child == 0) {
        sigprocmask(SIG_UNBLOCK, &childSignal, nullptr);
        setpgid(0, 0);
        execvp(argv[3], argv + 3);
        std::perror(argv[3]);
        _exit(127);
    }
    setpgid(child, child);  // also here, so a timeout can kill the group whoever runs first
    int status = 0;
    rusage usage{};
    bool finished = waitForExit(child, start + std::atof(argv[2]), status, usage);
    if (!finished) {
        kill(-child, SIGKILL);
        wait4(child, &status, 0, &usage);
    }
    double seconds = now() - start;
    FILE* result = std::fopen(argv[1], "w");
    if (!result) return 1;
    double cpu = static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                 static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    std::fprintf(result, "%.6f %.6f %ld %s\n", seconds, cpu, usage.ru_maxrss,
                 describe(finished, status).c_str());
    return std::fclose(result) == 0 ? 0 : 1;
}
