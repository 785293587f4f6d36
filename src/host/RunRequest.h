#pragma once
// What `run` and a line of a `batch` list ask for: the job kind and its settings, read from
// "-b|-a KEY=VALUE...", and the run itself, shared by both commands.

#include <optional>
#include <string>
#include <vector>

#include "host/HostCommand.h"
#include "host/SettingsText.h"

namespace host {

struct RunRequest {
    JobKind kind = JobKind::Convert;
    SettingsText settings;
};

// The request of "-b|-a KEY=VALUE..."; nullopt after the usage text or a complaint.
std::optional<RunRequest> parseRunArguments(const Arguments& arguments);

enum class BookState { Readable, CannotOpen, WrongPassword, NoPages };

struct BookCheck {
    BookState state = BookState::CannotOpen;
    int pageCount = 0;
};

// Opens the job's PDF with the empty password, then with the job's, and counts its pages.
BookCheck checkBook(const SettingsText& settings);

// Where the worker's own messages go once it ended: as the worker printed them, or all on
// standard error, leaving standard output to the list of files written.
enum class WorkerMessages { AsPrinted, ToStandardError };

struct RunOutcome {
    int status = 0;                  // the exit status `run` gives
    bool stopped = false;            // an interrupt asked the job to stop
    std::vector<std::string> files;  // written by the job, in page order
};

// Runs the request as `run` does: checks it, makes the output folder, starts the worker with a
// stop flag of its own, follows it with a bar on a terminal, stops it on an interrupt, and
// prints the files it wrote.
RunOutcome runRequest(RunRequest request, WorkerMessages messages);

}  // namespace host
