#pragma once
// Test doubles and helpers for the -b conversion: a reporter that records every line, stop
// flags that are set from the start or after a number of polls, and a short way to run one
// page converter on a fixture file.

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "convert/PDFAnnotations.h"
#include "platform/Reporter.h"
#include "platform/StopFlag.h"
#include "support/PdfFixture.h"

namespace converttest {

class RecordingReporter final : public platform::Reporter {
public:
    void out(const std::string& line) override { outLines.push_back(line); }
    void log(const std::string& line) override { logLines.push_back(line); }
    void progress(const std::string& argument) override { progressLines.push_back(argument); }

    std::vector<std::string> outLines;
    std::vector<std::string> logLines;
    std::vector<std::string> progressLines;
};

// Answers "not set" for the first allowedPolls polls and "set" from then on.
class StopAfterPolls final : public platform::StopFlag {
public:
    explicit StopAfterPolls(int allowedPolls) : left_(allowedPolls) {}
    bool isSet() const override { return left_-- <= 0; }

private:
    mutable int left_;
};

// The names of the files in folder, sorted.
inline std::vector<std::string> fileNames(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// A page converter for pageNumber of pdf writing to output, with the job defaults of the front
// end (aspect ratio 1, both text-link kinds).
inline convert::PDFAnnotations pageConverter(const std::filesystem::path& pdf, std::int64_t page,
                                             const std::filesystem::path& output) {
    convert::PDFAnnotations converter;
    converter.inputFile = pdf.string();
    converter.outputFile = output.string();
    converter.pageNumber = page;
    converter.aspectRatio = 1.0;
    converter.typeOfText2Link = 3;
    return converter;
}

// Fixture pieces: raw annotation dictionaries and a book with a spread.
inline const platform::Rect kSingle{0, 0, 600, 800};
inline const platform::Rect kSpread{0, 0, 1400, 800};

inline std::string uriLink(const std::string& rect, const std::string& uri) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /A << /S /URI /URI (" + uri +
           ") >> >>";
}

inline std::string destLink(const std::string& rect, const std::string& destination) {
    return "<< /Type /Annot /Subtype /Link /Rect [" + rect + "] /Dest [" + destination + "] >>";
}

inline std::string squareWithAction(const std::string& rect, const std::string& action) {
    return "<< /Type /Annot /Subtype /Square /Rect [" + rect + "] /A " + action + " >>";
}

inline std::string named(const std::string& name) { return "<< /S /Named /N /" + name + " >>"; }

// Single page, spread, single page; the spread's links cover each way a link can lie on it.
inline testsupport::PdfFixture bookWithSpread() {
    testsupport::PdfFixture pdf;
    pdf.page(kSingle)
        .annot(destLink("60 700 160 730", "{page:1} /XYZ 1000 800 0"))
        .annot(destLink("60 600 160 630", "{page:1} /XYZ 100 800 0"))
        .annot(destLink("60 500 160 530", "{page:2} /Fit"))
        .annot(uriLink("300 100 400 150", "http://one.example/"));
    pdf.page(kSpread)
        .annot(uriLink("560 700 980 730", "http://over.example/middle"))
        .annot(uriLink("840 100 980 150", "http://right.example/"))
        .annot(destLink("100 100 200 150", "{page:2} /Fit"))
        .annot(destLink("1000 300 1100 350", "{page:1} /XYZ 900 0 0"));
    pdf.page(kSingle).annot(destLink("60 700 160 730", "{page:1} /XYZ 200 800 0"));
    return pdf;
}

}  // namespace converttest
