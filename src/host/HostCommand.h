#pragma once
// The sub-commands of pdfannotations-host. Each takes the arguments after its name, prints
// its results on standard output and its complaints, prefixed "pdfannotations-host: ", on
// standard error, and returns the exit status: 0 done, 1 failed, 2 wrong arguments (after the
// usage text); `run` returns the worker's own status.

#include <string>
#include <string_view>
#include <vector>

namespace host {

using Arguments = std::vector<std::string>;

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

int runEncodeCommand(const Arguments& arguments);
int runDecodeCommand(const Arguments& arguments);
int runJobCommand(const Arguments& arguments);
int runBatchCommand(const Arguments& arguments);
int runBatchJobCommand(const Arguments& arguments);
int runStopCommand(const Arguments& arguments);
int runListenCommand(const Arguments& arguments);
int runPreviewCommand(const Arguments& arguments);

// Prints the usage text on standard error and returns kExitUsage.
int printUsage();
// Prints "pdfannotations-host: <message>" on standard error and returns status.
int complain(std::string_view message, int status = kExitFailure);

}  // namespace host
