#include "frontend/ProcessReporter.h"

#include <cstdio>

#include "frontend/TarnShareMemory.h"
#include "platform/ProgressChannel.h"

namespace frontend {
namespace {

void writeLine(std::FILE* stream, const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stream);
    std::fputc('\n', stream);
}

}  // namespace

void ProcessReporter::out(const std::string& line) { writeLine(stdout, line); }

void ProcessReporter::log(const std::string& line) { writeLine(stderr, line); }

void ProcessReporter::progress(const std::string& argument) {
    platform::sendProgressMessage(argument);
    // The host may have set the stop flag while it handled the message.
    markStopFlagStale();
}

}  // namespace frontend
