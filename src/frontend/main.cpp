// PDFAnnotations: the worker the host starts once per job. "-b" converts the link annotations of
// a PDF into XML for the host's editors; "-a" adds links for the addresses and numbers found in
// the page text. The work is in the entry and the job libraries; this file only wires the
// process to them.

#include <execinfo.h>

#include <string>
#include <string_view>
#include <vector>

#include "frontend/Entry.h"
#include "frontend/JobRunner.h"
#include "frontend/ProcessReporter.h"
#include "platform/FreedMemory.h"
#include "platform/JobSignals.h"

namespace {

// An exception unwinding through the C library's own frames (pthread_once, around the phone
// number library's start-up) makes the C library load its unwinder on first use. Out of memory
// it cannot, and it aborts the process; loaded now, running out of memory ends the job like any
// other failure.
void loadUnwinder() {
    void* frame[1];
    static_cast<void>(backtrace(frame, 1));
}

}  // namespace

int main(int argc, char** argv) {
    loadUnwinder();
    platform::keepFreedMemoryForReuse();
    platform::installJobSignals();
    const std::string_view mode = argc > 1 ? argv[1] : "";
    try {
        std::vector<std::string> arguments;
        for (int k = 1; k < argc; ++k) arguments.emplace_back(argv[k]);
        frontend::ProcessReporter reporter;
        frontend::LibraryJobs jobs;
        return frontend::runEntry(arguments, reporter, jobs);
    } catch (...) {
        // Only running out of memory gets here, after the job's files were finished or left
        // as they were; the job has failed as surely as when its document cannot be opened.
        return frontend::failedJobStatus(mode);
    }
}
