#pragma once
// Runs one of the built executables as the host does: no shell, no standard input, standard
// output and standard error captured apart. A child that outlives the time limit is killed, so a
// test never hangs on it.

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace testsupport {

struct ProcessResult {
    int exitStatus = -1;    // the child's exit status; -1 when it did not exit by itself
    int signal = 0;         // the signal that ended the child, 0 when it exited
    bool timedOut = false;  // the child was killed at the time limit
    bool started = false;   // false when the executable could not be started at all
    std::string out;
    std::string err;
};

// Runs executable with arguments (argument 0 is the executable path). environment adds to or
// replaces variables of this process's environment (for example TMPDIR).
ProcessResult runProcess(const std::string& executable, const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {},
                         std::chrono::milliseconds timeLimit = std::chrono::minutes(2));

}  // namespace testsupport
