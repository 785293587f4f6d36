#include "frontend/Entry.h"

#include <optional>
#include <span>
#include <string_view>

#include "frontend/JobStop.h"
#include "frontend/Settings.h"
#include "frontend/TarnShareMemory.h"
#include "frontend/Usage.h"
#include "frontend/security.h"

namespace frontend {
namespace {

using Arguments = std::span<const std::string>;

// The host's stop flag for one job, with the stop signals: opened before the job object is
// made, released after the job returns.
class JobStopFlag {
public:
    explicit JobStopFlag(const std::optional<std::string>& identifier) {
        shareMemoryAlloc(identifier);
    }
    ~JobStopFlag() { shareMemoryFree(); }
    JobStopFlag(const JobStopFlag&) = delete;
    JobStopFlag& operator=(const JobStopFlag&) = delete;

    const platform::StopFlag& flag() const { return flag_; }

private:
    JobStop flag_;
};

std::int64_t showUsage(Arguments, platform::Reporter& reporter, JobRunner&) {
    printUsage(reporter);
    return 0;
}

// -b CODES
std::int64_t runConversion(Arguments arguments, platform::Reporter& reporter, JobRunner& jobs) {
    const std::optional<std::string> items = decodeArgumentCodes(arguments[1]);
    if (!items) return showUsage(arguments, reporter, jobs);
    ConversionSettings settings = readConversionSettings(*items);
    // The measurement opens the document, which the host may want to stop; the flag is opened
    // first for a job that will run.
    std::optional<JobStopFlag> stop;
    if (settings.isComplete()) stop.emplace(settings.taskID);
    // Measured before completeness is checked, as the host has always seen it.
    if (settings.needsWidthDetection()) {
        settings.divWidth = jobs.detectWidePageForFile(settings.inputFile, settings.password);
    }
    if (!stop) return showUsage(arguments, reporter, jobs);
    // The job part alone goes on; what the reading noted stays here.
    convert::QXAnnos job = settings;
    return jobs.parseAnnosToXML(job, stop->flag(), reporter);
}

// -a CODES, or -a PDF RANGE [PASSWORD [TYPE [ID]]]
std::int64_t runTextLink(Arguments arguments, platform::Reporter& reporter, JobRunner& jobs) {
    std::optional<TextLinkSettings> settings;
    if (arguments.size() >= 3) {
        settings = readTextLinkArguments(arguments.subspan(1));
    } else if (const std::optional<std::string> items = decodeArgumentCodes(arguments[1])) {
        settings = readTextLinkSettings(*items);
    }
    // The host expects no output here: it learns about -a jobs from their progress messages.
    if (!settings || !settings->isComplete()) return 0;
    const JobStopFlag stop(settings->taskID);
    text2link::ParsePDFTextLink job = *settings;
    jobs.parse(job, stop.flag(), reporter);
    return 0;
}

struct Mode {
    std::string_view flag;
    std::size_t minimumArguments;  // the flag included
    std::int64_t (*run)(Arguments arguments, platform::Reporter& reporter, JobRunner& jobs);
};

constexpr Mode kModes[] = {
    {"-h", 1, showUsage},
    {"-b", 2, runConversion},
    {"-a", 2, runTextLink},
};

}  // namespace

int runEntry(const std::vector<std::string>& arguments, platform::Reporter& reporter,
             JobRunner& jobs) {
    for (const Mode& mode : kModes) {
        if (!arguments.empty() && arguments[0] == mode.flag &&
            arguments.size() >= mode.minimumArguments) {
            return exitStatus(mode.run(arguments, reporter, jobs));
        }
    }
    return exitStatus(showUsage(arguments, reporter, jobs));
}

int exitStatus(std::int64_t jobResult) {
    // The status the system keeps of exit(jobResult): its low 8 bits.
    return static_cast<int>(static_cast<std::uint8_t>(jobResult));
}

int failedJobStatus(std::string_view mode) { return exitStatus(mode == "-b" ? -1 : 0); }

}  // namespace frontend
