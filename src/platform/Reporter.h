#pragma once
// The one sink for what a job tells the outside world: a line on standard output, a line in the
// diagnostic log (standard error), and progress messages to the host. Tests record them.

#include <string>

namespace platform {

class Reporter {
public:
    virtual ~Reporter() = default;
    virtual void out(const std::string& line) = 0;
    virtual void log(const std::string& line) = 0;
    virtual void progress(const std::string& argument) = 0;
};

}  // namespace platform
