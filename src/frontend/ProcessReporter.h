#pragma once
// The reporter of the running process: a job's output line goes to standard output, a diagnostic
// line to standard error (each with its own newline, as puts writes it), and progress to the
// host's progress channel.

#include "platform/Reporter.h"

namespace frontend {

class ProcessReporter final : public platform::Reporter {
public:
    void out(const std::string& line) override;
    void log(const std::string& line) override;
    // Dropped when the host does not listen.
    void progress(const std::string& argument) override;
};

}  // namespace frontend
