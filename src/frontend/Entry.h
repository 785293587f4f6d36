#pragma once
// The command line of PDFAnnotations, as the host writes it:
//   -h                                      the usage text
//   -b CODES                                annotation conversion with encoded settings
//   -a CODES                                text-to-link detection with encoded settings
//   -a PDF RANGE [PASSWORD [TYPE [ID]]]     text-to-link detection with plain arguments
// Anything else prints the usage text. Arguments past those shown are ignored.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frontend/JobRunner.h"
#include "platform/Reporter.h"

namespace frontend {

// Runs one command line (the arguments after the program path) and returns the exit status.
// Settings that cannot be decoded or lack a required item: the usage text for -b, nothing at all
// for -a; both exit 0. The stop flag of the job's identifier is open while the job runs.
int runEntry(const std::vector<std::string>& arguments, platform::Reporter& reporter,
             JobRunner& jobs);

// The exit status of an outcome: a conversion passes its job result out (0, or -1, which the
// system shows as 255); everything else gives 0.
int exitStatus(std::int64_t jobResult);

// The exit status of a job that failed on its way (out of memory), given the mode argument: -1
// for a conversion, as when its document cannot be opened; 0 for anything else.
int failedJobStatus(std::string_view mode);

}  // namespace frontend
