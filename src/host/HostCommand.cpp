#include "host/HostCommand.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "frontend/security.h"
#include "host/ProgressListener.h"
#include "host/StopFlagFile.h"

namespace host {

int printUsage() {
    std::fputs(
        "usage: pdfannotations-host encode TEXT\n"
        "       pdfannotations-host decode CODES\n"
        "       pdfannotations-host run -b|-a KEY=VALUE...\n"
        "       pdfannotations-host batch [--jobs N] [--resume|--resume-failed]\n"
        "                                 [--sshloginfile FILE] JOBS.tsv\n"
        "       pdfannotations-host stop ID\n"
        "       pdfannotations-host listen\n"
        "       pdfannotations-host preview BOOK.pdf [XML...] [--page N] [--password PW] [--r2l]\n"
        "                           [--scale S] -o PNG\n",
        stderr);
    return kExitUsage;
}

int complain(std::string_view message, int status) {
    std::fprintf(stderr, "pdfannotations-host: %.*s\n", static_cast<int>(message.size()),
                 message.data());
    return status;
}

int runEncodeCommand(const Arguments& arguments) {
    if (arguments.size() != 1) return printUsage();
    // The encoder draws its key from rand(); a fresh seed keeps keys apart between runs.
    std::srand(static_cast<unsigned>(std::time(nullptr)) ^ static_cast<unsigned>(::getpid()));
    std::puts(frontend::encodeArgumentCodes(arguments[0]).c_str());
    return 0;
}

int runDecodeCommand(const Arguments& arguments) {
    if (arguments.size() != 1) return printUsage();
    const std::optional<std::string> plain = frontend::decodeArgumentCodes(arguments[0]);
    if (!plain) return complain("the codes text cannot be decoded");
    std::fwrite(plain->data(), 1, plain->size(), stdout);
    std::fputc('\n', stdout);
    return 0;
}

int runStopCommand(const Arguments& arguments) {
    if (arguments.size() != 1) return printUsage();
    auto flag = StopFlagFile::open(arguments[0]);
    if (!flag) return complain(flag.error().message);
    (*flag)->raise();
    return 0;
}

int runListenCommand(const Arguments& arguments) {
    if (!arguments.empty()) return printUsage();
    // The listener's thread inherits the blocked signals; only sigwait below takes them.
    sigset_t endSignals;
    sigemptyset(&endSignals);
    sigaddset(&endSignals, SIGINT);
    sigaddset(&endSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
    auto listener = ProgressListener::start([](const std::string& argument) {
        std::printf("%s\n", argument.c_str());
        std::fflush(stdout);
    });
    if (!listener) return complain(listener.error().message);
    std::fprintf(stderr, "pdfannotations-host: listening on %s\n", (*listener)->path().c_str());
    int received = 0;
    sigwait(&endSignals, &received);
    return 0;
}

}  // namespace host
