#pragma once
// The two jobs run through the built tool as the host runs them (codes texts, a temporary
// directory of the test's own), and the outcome every job must have whatever its input: ended
// by itself within the bounds, the exit status and the messages the tool is allowed to give,
// well-formed XML from -b, and from -a a file that is unchanged or a PDF that opens.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "frontend/security.h"
#include "platform/MuPDFDocument.h"
#include "platform/PugiXML.h"
#include "robustness/PdfSurgery.h"
#include "robustness/ToolProcess.h"

namespace robustness {

namespace fs = std::filesystem;

inline std::string codes(const std::string& items) { return frontend::encodeArgumentCodes(items); }

// A path as a settings value: "|" and "=" escaped as the host escapes them.
inline std::string pathValue(const std::string& path) {
    std::string value;
    for (char c : path) {
        if (c == '|') {
            value += ":7C:";
        } else if (c == '=') {
            value += ":3D:";
        } else {
            value += c;
        }
    }
    return value;
}

enum class Writer { PageEditor, Slides };

// -b on every page: the page editor with wide pages found automatically, or the slides with
// text links and every page divided.
inline std::vector<std::string> conversionArguments(const fs::path& input, const fs::path& output,
                                                    Writer writer,
                                                    const std::string& extraItems = "") {
    std::string items = "input=" + pathValue(input.string()) +
                        "|output=" + pathValue(output.string()) + "|range=ALL";
    items += writer == Writer::Slides ? "|divide=2|html5=1|t2l=ALL" : "|divide=1";
    return {PDFA_TOOL, "-b", codes(items + extraItems)};
}

inline std::vector<std::string> textLinkArguments(const fs::path& input,
                                                  const std::string& extraItems = "") {
    return {PDFA_TOOL, "-a",
            codes("input=" + pathValue(input.string()) + "|range=ALL" + extraItems)};
}

// The tool built without the sanitizer: the tests' own when they have none, else the one
// PDFA_PLAIN_TOOL names (`make test` builds one); empty without it.
inline std::string plainTool() {
    if (!kToolHasAsan) return PDFA_TOOL;
    const char* path = std::getenv("PDFA_PLAIN_TOOL");
    return path != nullptr && fs::is_regular_file(path) ? path : "";
}

inline std::map<std::string, std::string> environmentFor(const fs::path& temporaryDirectory) {
    return {{"TMPDIR", temporaryDirectory.string()}};
}

// Writes a job's input as folder/input.pdf, beside the out/ and tmp/ folders its jobs use.
inline fs::path writeJobInput(const fs::path& folder, const std::string& bytes) {
    const fs::path input = folder / "input.pdf";
    EXPECT_TRUE(writeBytes(input, bytes));
    fs::create_directories(folder / "out");
    fs::create_directories(folder / "tmp");
    return input;
}

// Ended by itself, within the time limit, with no signal.
inline void expectEndedByItself(const ToolResult& result) {
    EXPECT_FALSE(result.timedOut) << "killed at the time limit";
    EXPECT_EQ(result.signal, 0) << "ended by a signal";
}

// The line either job logs for a document that opened without any page.
inline const std::string kNoPagesLine = "the document has no pages!";

// "page<n>:failed to load annotations!", "Invalid Password !" or the no-pages line.
inline bool isConversionLogLine(const std::string& line) {
    if (line == "Invalid Password !" || line == kNoPagesLine) return true;
    const std::string tail = ":failed to load annotations!";
    if (line.rfind("page", 0) != 0 || line.size() <= 4 + tail.size()) return false;
    const std::string number = line.substr(4, line.size() - 4 - tail.size());
    return line.compare(line.size() - tail.size(), tail.size(), tail) == 0 &&
           number.find_first_not_of("0123456789") == std::string::npos;
}

// -b: 0, or 255 with the one line on standard output; only the driver's lines in the log.
inline void expectConversionOutcome(const ToolResult& result) {
    expectEndedByItself(result);
    if (result.exitStatus == 255) {
        EXPECT_EQ(result.out, "failed to verify the password!!!\n");
    } else {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
    }
    std::istringstream log(result.err);
    for (std::string line; std::getline(log, line);) {
        EXPECT_TRUE(isConversionLogLine(line)) << "unexpected log line: " << line;
    }
}

// -a: always 0, and nothing printed but the no-pages line.
inline void expectTextLinkOutcome(const ToolResult& result) {
    expectEndedByItself(result);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.out, "");
    if (result.err != kNoPagesLine + "\n") {
        EXPECT_EQ(result.err, "");
    }
}

// Every file in folder (and below) is well-formed XML.
inline void expectWellFormedXml(const fs::path& folder) {
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
        if (!entry.is_regular_file()) continue;
        EXPECT_TRUE(platform::XmlDocument::parse(readBytes(entry.path())).has_value())
            << entry.path() << " is not well-formed XML";
    }
}

// Pages of the document at path once opened with the empty password; -1 when it does not open.
inline int openablePageCount(const fs::path& path) {
    auto document = platform::Document::open(path.string());
    if (!document || !document->unlock("")) return -1;
    return document->pageCount();
}

// After -a: the file as it was, or a PDF that opens with as many pages as before.
inline void expectUntouchedOrValid(const fs::path& path, const std::string& before,
                                   int pagesBefore) {
    const std::string after = readBytes(path);
    if (after == before) return;
    EXPECT_NE(pagesBefore, -1) << "a file that did not open was changed";
    EXPECT_EQ(openablePageCount(path), pagesBefore) << path << " was changed into a broken PDF";
}

// The entries of folder by name: a file by its bytes, anything else by its kind.
inline std::map<std::string, std::string> filesIn(const fs::path& folder) {
    std::map<std::string, std::string> files;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        files[name] = entry.is_regular_file() ? readBytes(entry.path()) : "(not a file)";
    }
    return files;
}

// Names in folder that are not in expected: what a job left behind.
inline std::vector<std::string> strayNames(const fs::path& folder,
                                           const std::vector<std::string>& expected) {
    std::vector<std::string> stray;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        std::string name = entry.path().filename().string();
        if (std::find(expected.begin(), expected.end(), name) == expected.end()) {
            stray.push_back(name);
        }
    }
    return stray;
}

struct Figures {
    int inputs = 0;
    int runs = 0;
    double longestSeconds = 0;
    long peakKiB = 0;
    int refused = 0;  // -b runs that found no document to open

    void add(const ToolResult& result) {
        ++runs;
        longestSeconds = std::max(longestSeconds, result.seconds);
        peakKiB = std::max(peakKiB, result.peakMemoryKiB);
        if (result.exitStatus == 255) ++refused;
    }
};

// One file through -b for the page editor, -b for the slides and -a, each checked as above; -b
// must refuse exactly the files that do not open and never change its input. Works in folder,
// which is removed afterwards.
inline void expectEveryJobCopes(const std::string& bytes, const fs::path& folder,
                                const Limits& limits, Figures& figures) {
    fs::create_directories(folder / "tmp");
    const fs::path input = folder / "input.pdf";
    ASSERT_TRUE(writeBytes(input, bytes));
    const int pages = openablePageCount(input);
    ++figures.inputs;
    for (Writer writer : {Writer::PageEditor, Writer::Slides}) {
        const fs::path output = folder / (writer == Writer::Slides ? "slides" : "editor");
        fs::create_directory(output);
        ToolResult result = runTool(PDFA_TOOL, conversionArguments(input, output, writer),
                                    environmentFor(folder / "tmp"), limits);
        expectConversionOutcome(result);
        EXPECT_EQ(result.exitStatus, pages < 0 ? 255 : 0);
        expectWellFormedXml(output);
        figures.add(result);
    }
    ASSERT_EQ(readBytes(input), bytes) << "-b changed its input";

    ToolResult result =
        runTool(PDFA_TOOL, textLinkArguments(input), environmentFor(folder / "tmp"), limits);
    expectTextLinkOutcome(result);
    expectUntouchedOrValid(input, bytes, pages);
    EXPECT_EQ(strayNames(folder, {"input.pdf", "editor", "slides", "tmp"}),
              std::vector<std::string>());
    figures.add(result);
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

}  // namespace robustness
