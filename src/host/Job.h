#pragma once
// One run of the worker: the settings are encoded into a codes text, the worker is started with
// posix_spawn as "PDFAnnotations -b|-a <codes>", and the host can wait for it, stop it through
// its stop flag, and then read its exit status, what it printed and which files it wrote.

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "host/OutputFiles.h"
#include "host/SettingsText.h"
#include "host/StopFlagFile.h"
#include "platform/result.h"

namespace host {

// The program started when no tool path is given, looked up in PATH.
inline constexpr const char* kToolName = "PDFAnnotations";

class Job {
public:
    // Starts the worker at tool (empty: looked up in PATH). Settings without an identifier get
    // a fresh one, so that every job has a stop flag. Fails with Argument when a required
    // setting is missing, the identifier is unusable or the tool cannot be run; with System when
    // the stop flag file or the output capture cannot be made.
    static platform::Result<std::unique_ptr<Job>> start(const std::string& tool, JobKind kind,
                                                        SettingsText settings);

    // Kills and reaps a worker still running, and removes the stop flag file.
    ~Job();
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // Waits for the end, at most timeout (none: as long as it takes). Gives the exit status (0 to
    // 255, or minus the signal that ended the worker), or nullopt while it still runs. Once it
    // has ended, later calls give the same status at once.
    platform::Result<std::optional<int>> wait(std::optional<std::chrono::milliseconds> timeout);

    // Raises the stop flag; the worker ends after the page or link it is on. Safe from any
    // thread, also from a progress callback while another thread waits.
    void stop();

    const std::string& identifier() const { return identifier_; }
    JobKind kind() const { return kind_; }
    const SettingsText& settings() const { return settings_; }
    bool hasEnded() const { return exitStatus_.has_value(); }

    // The files written so far; once the job has ended, all it wrote, in page order.
    std::vector<std::string> writtenFiles() const;
    // After the end: everything the worker printed.
    const std::string& standardOutput() const { return out_; }
    const std::string& standardError() const { return err_; }

private:
    Job(JobKind kind, SettingsText settings, std::string identifier);
    platform::Status spawn(const std::string& tool);
    void finish(int waitStatus);

    JobKind kind_;
    SettingsText settings_;
    std::string identifier_;
    std::mutex stopFlagMutex_;  // stop() may race with the end removing the flag
    std::unique_ptr<StopFlagFile> stopFlag_;
    OutputSnapshot snapshot_;
    pid_t pid_ = -1;
    int outCapture_ = -1;
    int errCapture_ = -1;
    std::optional<int> exitStatus_;
    std::vector<std::string> outputs_;
    std::string out_;
    std::string err_;
};

}  // namespace host
