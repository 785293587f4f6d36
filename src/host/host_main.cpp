// pdfannotations-host: drives PDFAnnotations as a host application does, from a shell. Encodes
// and decodes settings, runs jobs (one, or a list of them on GNU parallel), stops them, listens
// to their progress, and draws the links a job found over a picture of the page.

#include <array>
#include <string_view>

#include "host/HostCommand.h"

namespace {

struct Command {
    std::string_view name;
    int (*run)(const host::Arguments&);
};

constexpr std::array<Command, 8> kCommands{{
    {"encode", host::runEncodeCommand},
    {"decode", host::runDecodeCommand},
    {"run", host::runJobCommand},
    {"batch", host::runBatchCommand},
    {"batch-job", host::runBatchJobCommand},
    {"stop", host::runStopCommand},
    {"listen", host::runListenCommand},
    {"preview", host::runPreviewCommand},
}};

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc < 2) return host::printUsage();
        const host::Arguments arguments(argv + 2, argv + argc);
        for (const Command& command : kCommands) {
            if (command.name == argv[1]) return command.run(arguments);
        }
        return host::printUsage();
    } catch (...) {
        // Only running out of memory gets here.
        return host::complain("out of memory");
    }
}
