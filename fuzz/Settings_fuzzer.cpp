// The settings path of the command line on arbitrary bytes: the codes text decoded and its items
// read with the key rules of both jobs, the same bytes read as items directly (random codes
// rarely decode), the positional form of -a, and the whole entry with stand-in jobs.
// Properties checked: the encoder's output decodes back to its text, and the settings
// read keep the invariants the jobs rely on.

#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "frontend/Entry.h"
#include "frontend/Settings.h"
#include "frontend/security.h"
#include "platform/PugiXML.h"

namespace {

void checkConversionSettings(const frontend::ConversionSettings& settings) {
    FUZZ_CHECK((settings.requiredItems & ~15u) == 0);
    FUZZ_CHECK(settings.isComplete() == (settings.requiredItems == 15));
    FUZZ_CHECK(settings.typeOfText2Link > 0);
    // Only a "t2l" item that was taken sets the type, and it always switches the links on.
    FUZZ_CHECK(settings.isText2Link || settings.typeOfText2Link == 3);
    FUZZ_CHECK(!settings.needsWidthDetection() || settings.wideMode == 1);
}

void checkTextLinkSettings(const std::optional<frontend::TextLinkSettings>& settings) {
    if (!settings) return;
    FUZZ_CHECK((settings->requiredItems & ~7u) == 0);
    // A type of 0 ends the program instead of reaching the job.
    FUZZ_CHECK(settings->parseType != 0);
}

void readItems(const std::string& items) {
    checkConversionSettings(frontend::readConversionSettings(items));
    checkTextLinkSettings(frontend::readTextLinkSettings(items));
}

void checkRoundTrip(const std::string& plain) {
    if (!platform::isValidUTF8(plain)) return;
    const std::optional<std::string> decoded =
        frontend::decodeArgumentCodes(frontend::encodeArgumentCodes(plain));
    FUZZ_CHECK(decoded.has_value() && *decoded == plain);
}

class NullReporter final : public platform::Reporter {
public:
    void out(const std::string&) override {}
    void log(const std::string&) override {}
    void progress(const std::string&) override {}
};

// Stands in for the jobs: the entry's own work is what is tried here.
class StandInJobs final : public frontend::JobRunner {
public:
    std::int64_t detectWidePageForFile(const std::string&,
                                       const std::optional<std::string>&) override {
        return 0;
    }
    std::int64_t parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                 platform::Reporter&) override {
        FUZZ_CHECK(!stop.isSet());
        return job.inputFile.size() % 2 == 0 ? 0 : -1;
    }
    void parse(text2link::ParsePDFTextLink&, const platform::StopFlag& stop,
               platform::Reporter&) override {
        FUZZ_CHECK(!stop.isSet());
    }
};

// The command line is the input's NUL-separated pieces (at most seven).
void runEntry(fuzzsupport::InputReader input) {
    std::vector<std::string> arguments;
    while (!input.atEnd() && arguments.size() < 7) {
        arguments.emplace_back(input.textUpTo('\0'));
    }
    NullReporter reporter;
    StandInJobs jobs;
    const int status = frontend::runEntry(arguments, reporter, jobs);
    FUZZ_CHECK(status == 0 || status == 255);
    fuzzsupport::clearPrivateFolder();  // the stop flag files of the identifiers tried
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzsupport::privateFolder();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    if (const std::optional<std::string> decoded = frontend::decodeArgumentCodes(bytes)) {
        FUZZ_CHECK(platform::isValidUTF8(*decoded));
        readItems(*decoded);
    }
    readItems(bytes);
    checkRoundTrip(bytes);

    fuzzsupport::InputReader positional(data, size);
    std::vector<std::string> arguments;
    while (!positional.atEnd() && arguments.size() < 6) {
        arguments.emplace_back(positional.textUpTo('\0'));
    }
    const frontend::TextLinkSettings plain = frontend::readTextLinkArguments(arguments);
    FUZZ_CHECK(plain.isComplete() == (arguments.size() >= 2));

    runEntry(fuzzsupport::InputReader(data, size));
    return 0;
}
