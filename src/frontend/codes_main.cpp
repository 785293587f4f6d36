// pdfannotations-codes: writes and reads the codes texts that the host passes to PDFAnnotations,
// for testing and for scripting the tool by hand.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "frontend/security.h"

namespace {

int printUsage() {
    std::fputs(
        "usage: pdfannotations-codes encode TEXT\n"
        "       pdfannotations-codes decode CODES\n",
        stderr);
    return 2;
}

int decode(const char* codes) {
    const std::optional<std::string> plain = frontend::decodeArgumentCodes(codes);
    if (!plain) {
        std::fputs("pdfannotations-codes: the codes text cannot be decoded\n", stderr);
        return 1;
    }
    std::fwrite(plain->data(), 1, plain->size(), stdout);
    std::fputc('\n', stdout);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return printUsage();
    const std::string_view command = argv[1];
    if (command == "decode") return decode(argv[2]);
    if (command != "encode") return printUsage();
    // The encoder draws its key from rand(); a fresh seed keeps keys apart between runs.
    std::srand(static_cast<unsigned>(std::time(nullptr)) ^ static_cast<unsigned>(getpid()));
    std::puts(frontend::encodeArgumentCodes(argv[2]).c_str());
    return 0;
}
