// `run -b|-a KEY=VALUE...`: one job, as a host runs it, with a progress bar on a terminal.
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <optional>

#include "host/HostCommand.h"
#include "host/Job.h"
#include "host/LinkPreview.h"
#include "host/OutputFiles.h"
#include "host/ProgressBar.h"
#include "host/ProgressListener.h"
#include "host/RunRequest.h"
#include "platform/MuPDFDocument.h"
#include "platform/NumberText.h"

namespace host {
namespace {

// How often the command looks at the job and redraws the bar.
constexpr std::chrono::milliseconds kLookInterval{100};
constexpr int kSignalStatusBase = 128;

// The PDFAnnotations installed beside this command, or none (then PATH decides).
std::string toolBesideUs() {
    char self[4096];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0) return "";
    std::string path(self, static_cast<std::size_t>(length));
    path = path.substr(0, path.rfind('/') + 1) + kToolName;
    return ::access(path.c_str(), X_OK) == 0 ? path : "";
}

// The page count of the job's PDF, 0 when it cannot be read.
int pageCountOf(const SettingsText& settings) {
    const BookCheck check = checkBook(settings);
    return check.state == BookState::Readable ? check.pageCount : 0;
}

// The bar on a terminal; nothing at all when standard output is not one. The listener's
// thread draws the pages of -a (before the worker goes on to the page), the command's thread
// those of -b.
class ProgressDisplay {
public:
    explicit ProgressDisplay(int total) : enabled_(::isatty(STDOUT_FILENO) == 1), total_(total) {}
    bool isEnabled() const { return enabled_; }
    void show(int page) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!enabled_ || page == shown_ || page <= 0) return;
        std::printf("\r%s", makeProgressLine(page, total_).c_str());
        std::fflush(stdout);
        shown_ = page;
    }
    // Clears the bar; nothing is drawn after this.
    void finish() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (shown_ > 0) std::printf("\r\033[K");
        std::fflush(stdout);
        enabled_ = false;
    }

private:
    std::mutex mutex_;
    bool enabled_;
    int total_;
    int shown_ = 0;
};

// The worker writes into an output folder but does not make it.
platform::Status makeOutputFolder(const RunRequest& request) {
    const std::optional<std::string> output = request.settings.value("output");
    if (request.kind != JobKind::Convert || !output || isSingleOutputFile(*output)) {
        return platform::Done{};
    }
    std::error_code failure;
    std::filesystem::create_directories(*output, failure);
    if (failure) {
        return platform::makeError(platform::Error::Code::System,
                                   "cannot make " + *output + ": " + failure.message());
    }
    return platform::Done{};
}

// The highest page among the files a conversion has written so far.
int lastPageWritten(const Job& job) {
    int page = 0;
    for (const std::string& file : job.writtenFiles()) {
        page = std::max(page, pageNumberOfFile(file).value_or(0));
    }
    return page;
}

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

bool isEndRequested(const sigset_t& signals) {
    const timespec now{0, 0};
    return sigtimedwait(&signals, nullptr, &now) > 0;
}

// Waits for the job; an interrupt asks it to stop, and it still writes what it has.
platform::Result<int> superviseJob(Job& job, ProgressDisplay& display, bool& stopped) {
    const sigset_t signals = endSignals();
    for (;;) {
        auto waited = job.wait(kLookInterval);
        if (!waited) return waited.error();
        if (*waited) return **waited;
        if (isEndRequested(signals)) {
            job.stop();
            stopped = true;
        }
        if (job.kind() == JobKind::Convert) display.show(lastPageWritten(job));
    }
}

void printOutcome(const Job& job, WorkerMessages messages) {
    std::fputs(job.standardOutput().c_str(),
               messages == WorkerMessages::AsPrinted ? stdout : stderr);
    std::fputs(job.standardError().c_str(), stderr);
    for (const std::string& file : job.writtenFiles()) std::printf("%s\n", file.c_str());
}

RunOutcome endedWith(int status, bool stopped = false, std::vector<std::string> files = {}) {
    RunOutcome outcome;
    outcome.status = status;
    outcome.stopped = stopped;
    outcome.files = std::move(files);
    return outcome;
}

}  // namespace

BookCheck checkBook(const SettingsText& settings) {
    auto document = platform::Document::open(settings.value("input").value_or(""));
    if (!document) return {BookState::CannotOpen};
    const std::string password = settings.value("password").value_or("");
    if (!document->unlock("") && !document->unlock(password)) return {BookState::WrongPassword};
    const int pages = document->pageCount();
    return {pages > 0 ? BookState::Readable : BookState::NoPages, pages};
}

std::optional<RunRequest> parseRunArguments(const Arguments& arguments) {
    if (arguments.size() < 2 || (arguments[0] != "-b" && arguments[0] != "-a")) {
        printUsage();
        return std::nullopt;
    }
    RunRequest request;
    request.kind = arguments[0] == "-b" ? JobKind::Convert : JobKind::TextToLink;
    for (std::size_t k = 1; k < arguments.size(); ++k) {
        const std::string& item = arguments[k];
        const std::size_t equals = item.find('=');
        if (equals == std::string::npos) {
            complain("\"" + item + "\" is not KEY=VALUE", kExitUsage);
            return std::nullopt;
        }
        auto set = request.settings.set(item.substr(0, equals), item.substr(equals + 1));
        if (!set) {
            complain(set.error().message, kExitUsage);
            return std::nullopt;
        }
    }
    return request;
}

RunOutcome runRequest(RunRequest request, WorkerMessages messages) {
    if (auto missing = request.settings.missingFor(request.kind)) {
        return endedWith(
            complain("the setting \"" + std::string(*missing) + "\" is missing", kExitUsage));
    }
    if (auto made = makeOutputFolder(request); !made)
        return endedWith(complain(made.error().message));
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ProgressDisplay display(::isatty(STDOUT_FILENO) == 1 ? pageCountOf(request.settings) : 0);
    // Another host listening already keeps the messages; the bar then stays empty.
    std::unique_ptr<ProgressListener> listener;
    if (request.kind == JobKind::TextToLink && display.isEnabled()) {
        auto started = ProgressListener::start([&display](const std::string& argument) {
            if (!argument.starts_with("stop")) display.show(platform::intValue(argument));
        });
        if (started) listener = std::move(*started);
    }
    auto job = Job::start(toolBesideUs(), request.kind, std::move(request.settings));
    if (!job) return endedWith(complain(job.error().message));
    bool stopped = false;
    auto status = superviseJob(**job, display, stopped);
    display.finish();
    if (!status) return endedWith(complain(status.error().message), stopped);
    printOutcome(**job, messages);
    if (*status == 0) return endedWith(0, stopped, (*job)->writtenFiles());
    complain("PDFAnnotations ended with status " + std::to_string(*status));
    return endedWith(*status > 0 ? *status : kSignalStatusBase - *status, stopped,
                     (*job)->writtenFiles());
}

int runJobCommand(const Arguments& arguments) {
    std::optional<RunRequest> request = parseRunArguments(arguments);
    if (!request) return kExitUsage;
    return runRequest(std::move(*request), WorkerMessages::AsPrinted).status;
}

}  // namespace host
