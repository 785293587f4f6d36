// PDFAnnotations: the worker the host starts once per job. "-b" converts the link annotations of
// a PDF into XML for the host's editors; "-a" adds links for the addresses and numbers found in
// the page text. The work is in the entry and the job libraries; this file only wires the
// process to them.

#include <string>
#include <vector>

#include "frontend/Entry.h"
#include "frontend/JobRunner.h"
#include "frontend/ProcessReporter.h"
#include "platform/JobSignals.h"

int main(int argc, char** argv) {
    platform::installJobSignals();
    try {
        std::vector<std::string> arguments;
        for (int k = 1; k < argc; ++k) arguments.emplace_back(argv[k]);
        frontend::ProcessReporter reporter;
        frontend::LibraryJobs jobs;
        return frontend::runEntry(arguments, reporter, jobs);
    } catch (...) {
        // Only running out of memory gets here; the job has failed as surely as when its
        // document cannot be opened.
        return frontend::exitStatus(-1);
    }
}
