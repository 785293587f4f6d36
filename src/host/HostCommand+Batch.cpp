// `batch [OPTIONS] JOBS.tsv`: a list of jobs, one a line ("-b" or "-a" and its KEY=VALUE items,
// separated by tabs), run by GNU parallel, each line through `batch-job` (as `run`, with a stop
// flag identifier of its own and a failure reason in its exit status). Parallel's job log beside
// the list lets an interrupted batch resume; each job adds the files it wrote to a record beside
// it. At the end one summary of the whole list.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/HostCommand.h"
#include "host/RunRequest.h"

extern char** environ;

namespace host {
namespace {

// The exit statuses of `batch-job` beyond those of `run` (0 done, 1 failed, 2 wrong settings,
// the worker's own status, 128 + a signal).
constexpr int kExitCannotOpen = 3;
constexpr int kExitWrongPassword = 4;
constexpr int kExitNoPages = 5;
constexpr int kExitStopped = 6;

struct BatchOptions {
    std::string list;
    std::vector<std::string> parallelOptions;  // passed on as they are
};

std::optional<BatchOptions> parseBatchArguments(const Arguments& arguments) {
    BatchOptions options;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
        const std::string& argument = arguments[k];
        if (argument == "--resume" || argument == "--resume-failed") {
            options.parallelOptions.push_back(argument);
        } else if ((argument == "--jobs" || argument == "--sshloginfile") &&
                   k + 1 < arguments.size()) {
            options.parallelOptions.push_back(argument);
            options.parallelOptions.push_back(arguments[++k]);
        } else if (options.list.empty() && !argument.starts_with("--")) {
            options.list = argument;
        } else {
            printUsage();
            return std::nullopt;
        }
    }
    if (options.list.empty()) {
        printUsage();
        return std::nullopt;
    }
    return options;
}

std::string joblogOf(const std::string& list) { return list + ".joblog"; }
std::string recordOf(const std::string& list) { return list + ".written"; }

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string selfPath() {
    char self[4096];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
    return length > 0 ? std::string(self, static_cast<std::size_t>(length)) : "pdfannotations-host";
}

// Stop flag identifiers: the list's name, this batch's process and the line number.
std::string identifierStem(const std::string& list) {
    std::string stem;
    for (char c : list.substr(list.rfind('/') + 1)) {
        if (std::isalnum(static_cast<unsigned char>(c))) stem += c;
    }
    return (stem.empty() ? "batch" : stem) + "-" + std::to_string(::getpid());
}

std::vector<std::string> parallelCommand(const BatchOptions& options) {
    std::vector<std::string> command{"parallel", "--will-cite", "--colsep",
                                     "\t",       "--joblog",    joblogOf(options.list)};
    if (::isatty(STDERR_FILENO) == 1) command.push_back("--bar");
    command.insert(command.end(), options.parallelOptions.begin(), options.parallelOptions.end());
    for (const std::string& word :
         {std::string("-a"), options.list, shellQuoted(selfPath()), std::string("batch-job"),
          shellQuoted(std::filesystem::absolute(recordOf(options.list)).string()),
          identifierStem(options.list), std::string("{#}"), std::string("{}")}) {
        command.push_back(word);
    }
    return command;
}

// Runs parallel with its output (the jobs' lists of files) thrown away, and waits for it. The
// batch itself outlives an interrupt, which parallel and the jobs take, to print the summary.
platform::Result<int> runParallel(const std::vector<std::string>& command) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::vector<char*> argv;
    for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int failed = posix_spawnp(&pid, "parallel", &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) {
        return platform::makeError(platform::Error::Code::System,
                                   "cannot run GNU parallel (scripts/install-deps installs it)");
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : kExitFailure;
}

std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t start = 0;
    for (std::size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1) {
        fields.push_back(line.substr(start, tab - start));
    }
    fields.push_back(line.substr(start));
    return fields;
}

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The outcome of each line number the job log records, the last run of a line counting.
struct LoggedJob {
    int exitValue = 0;
    int signal = 0;
};

std::map<int, LoggedJob> readJoblog(const std::string& path) {
    std::map<int, LoggedJob> jobs;
    std::vector<std::string> lines = readLines(path);
    for (std::size_t k = 1; k < lines.size(); ++k) {  // after the header
        const std::vector<std::string> fields = splitTabs(lines[k]);
        if (fields.size() < 8) continue;
        jobs[std::atoi(fields[0].c_str())] = {std::atoi(fields[6].c_str()),
                                              std::atoi(fields[7].c_str())};
    }
    return jobs;
}

std::string reasonOf(const LoggedJob& job) {
    if (job.signal != 0) return "ended by signal " + std::to_string(job.signal);
    switch (job.exitValue) {
        case kExitCannotOpen:
            return "cannot open";
        case kExitWrongPassword:
            return "wrong password";
        case kExitNoPages:
            return "no pages";
        case kExitStopped:
            return "stopped";
        case kExitUsage:
            return "wrong settings";
        default:
            return "ended with status " + std::to_string(job.exitValue);
    }
}

// The input of a list line, for the report.
std::string inputOf(const std::string& line) {
    for (const std::string& item : splitTabs(line)) {
        std::string key = item.substr(0, item.find('='));
        for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if ((key == "input" || key == "i") && key.size() < item.size()) {
            return item.substr(key.size() + 1);
        }
    }
    return line;
}

// The files each line number wrote, from the record the jobs add to.
std::map<int, std::set<std::string>> readRecord(const std::string& path) {
    std::map<int, std::set<std::string>> files;
    for (const std::string& line : readLines(path)) {
        const std::size_t tab = line.find('\t');
        if (tab != std::string::npos) files[std::atoi(line.c_str())].insert(line.substr(tab + 1));
    }
    return files;
}

int printSummary(const std::string& list) {
    const std::vector<std::string> lines = readLines(list);
    const std::map<int, LoggedJob> logged = readJoblog(joblogOf(list));
    std::map<int, std::set<std::string>> written = readRecord(recordOf(list));
    std::vector<std::string> failures;
    std::size_t done = 0;
    std::size_t files = 0;
    for (const auto& [line, job] : logged) {
        if (line < 1 || static_cast<std::size_t>(line) > lines.size()) continue;
        if (job.exitValue == 0 && job.signal == 0) {
            ++done;
            files += written[line].size();
        } else {
            failures.push_back("line " + std::to_string(line) + ", " + reasonOf(job) + ": " +
                               inputOf(lines[static_cast<std::size_t>(line) - 1]));
        }
    }
    const std::size_t notRun = lines.size() - done - failures.size();
    std::printf("%zu jobs: %zu done, %zu failed, %zu not run; %zu files written\n", lines.size(),
                done, failures.size(), notRun, files);
    for (const std::string& failure : failures) std::printf("failed: %s\n", failure.c_str());
    return done == lines.size() ? 0 : kExitFailure;
}

int exitStatusOf(BookState state) {
    switch (state) {
        case BookState::CannotOpen:
            return kExitCannotOpen;
        case BookState::WrongPassword:
            return kExitWrongPassword;
        case BookState::NoPages:
            return kExitNoPages;
        case BookState::Readable:
            return 0;
    }
    return kExitFailure;
}

}  // namespace

int runBatchCommand(const Arguments& arguments) {
    std::optional<BatchOptions> options = parseBatchArguments(arguments);
    if (!options) return kExitUsage;
    if (::access(options->list.c_str(), R_OK) != 0) {
        return complain("cannot read the job list " + options->list);
    }
    // A new batch starts a new record, as parallel starts a new job log; a resumed one adds to it.
    const auto& given = options->parallelOptions;
    if (std::none_of(given.begin(), given.end(),
                     [](const std::string& option) { return option.starts_with("--resume"); })) {
        std::ofstream(recordOf(options->list), std::ios::trunc);
    }
    // Parallel and the jobs take an interrupt; the batch waits for them and reports.
    signal(SIGINT, SIG_IGN);
    signal(SIGTERM, SIG_IGN);
    auto ran = runParallel(parallelCommand(*options));
    if (!ran) return complain(ran.error().message);
    return printSummary(options->list);
}

// Adds "line<TAB>file" for each file written to the record; one write each, appended, so jobs
// running at once do not mix their lines.
void addToRecord(const std::string& record, const std::string& line,
                 const std::vector<std::string>& files) {
    const int fd = ::open(record.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
    if (fd < 0) return;
    for (const std::string& file : files) {
        const std::string entry = line + "\t" + file + "\n";
        if (::write(fd, entry.data(), entry.size()) < 0) break;
    }
    ::close(fd);
}

// batch-job RECORD STEM LINE -b|-a KEY=VALUE...: one line of a batch, under the identifier
// STEM-LINE.
int runBatchJobCommand(const Arguments& arguments) {
    if (arguments.size() < 3) return printUsage();
    const std::string& record = arguments[0];
    const std::string& line = arguments[2];
    std::optional<RunRequest> request =
        parseRunArguments(Arguments(arguments.begin() + 3, arguments.end()));
    if (!request) return kExitUsage;
    if (auto set = request->settings.set("identifier", arguments[1] + "-" + line); !set) {
        return complain(set.error().message, kExitUsage);
    }
    if (auto missing = request->settings.missingFor(request->kind)) {
        return complain("the setting \"" + std::string(*missing) + "\" is missing", kExitUsage);
    }
    const BookState state = checkBook(request->settings).state;
    if (state != BookState::Readable) {
        complain(request->settings.value("input").value_or("") + ": " +
                 reasonOf({exitStatusOf(state), 0}));
        return exitStatusOf(state);
    }
    const RunOutcome outcome = runRequest(std::move(*request), WorkerMessages::ToStandardError);
    addToRecord(record, line, outcome.files);
    return outcome.stopped ? kExitStopped : outcome.status;
}

}  // namespace host
