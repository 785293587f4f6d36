#include "frontend/Entry.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "frontend/TarnShareMemory.h"
#include "frontend/security.h"
#include "support/HostStopFlag.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using frontend::encodeArgumentCodes;
using Lines = std::vector<std::string>;

const Lines kUsage = {
    "\n",
    "  -b converts the link annotations of the selected pages into XML for the page editor or the "
    "HTML5 animation editor.",
    "  -a finds web addresses, e-mail addresses and phone numbers in the page text and adds them "
    "to the PDF as links.",
    "  {codes} is the job's settings, key=value items joined by \"|\", enciphered by the host.",
    "\n",
    "PDF Annotations usesage:",
    "1:parse annos:{PDFAnnotations} -b {codes}",
    "2.parse text to link annos:{PDFAnnotations} -a {codes}",
    "\n",
};

class RecordingReporter : public platform::Reporter {
public:
    void out(const std::string& line) override { outLines.push_back(line); }
    void log(const std::string& line) override { logLines.push_back(line); }
    void progress(const std::string& argument) override { progressArguments.push_back(argument); }

    Lines outLines;
    Lines logLines;
    Lines progressArguments;
};

// Keeps what the entry handed over, and answers with chosen results.
class RecordingJobs : public frontend::JobRunner {
public:
    std::int64_t detectWidePageForFile(const std::string& path,
                                       const std::optional<std::string>& password) override {
        detections.emplace_back(path, password);
        return detectedWidth;
    }
    std::int64_t parseAnnosToXML(convert::QXAnnos& job, const platform::StopFlag& stop,
                                 platform::Reporter& reporter) override {
        conversion = job;
        stopWasSet = stop.isSet();
        reporter.out("conversion ran");
        return conversionResult;
    }
    void parse(text2link::ParsePDFTextLink& job, const platform::StopFlag& stop,
               platform::Reporter& reporter) override {
        textLink = job;
        stopWasSet = stop.isSet();
        reporter.log("text-to-link ran");
    }

    std::int64_t detectedWidth = 612;
    std::int64_t conversionResult = 0;
    std::vector<std::pair<std::string, std::optional<std::string>>> detections;
    std::optional<convert::QXAnnos> conversion;
    std::optional<text2link::ParsePDFTextLink> textLink;
    std::optional<bool> stopWasSet;
};

// Each test runs the entry with its own temporary directory, so stop flag files never meet.
class Entry : public testing::Test {
protected:
    int run(const Lines& arguments) { return frontend::runEntry(arguments, reporter_, jobs_); }
    int runB(const std::string& items) { return run({"-b", encodeArgumentCodes(items)}); }
    int runA(const std::string& items) { return run({"-a", encodeArgumentCodes(items)}); }

    // A -b run with complete settings plus extra items; the job must have been given them.
    const convert::QXAnnos& convertWith(const std::string& extra) {
        EXPECT_EQ(runB("input=/in.pdf|output=/out|range=1-3|" + extra), 0);
        if (!jobs_.conversion) ADD_FAILURE() << "the conversion did not run";
        static const convert::QXAnnos kNone;
        return jobs_.conversion ? *jobs_.conversion : kNone;
    }

    void expectUsageOnly() {
        EXPECT_EQ(reporter_.outLines, kUsage);
        EXPECT_TRUE(reporter_.logLines.empty());
        EXPECT_FALSE(jobs_.conversion);
        EXPECT_FALSE(jobs_.textLink);
    }

    void expectNothing() {
        EXPECT_TRUE(reporter_.outLines.empty());
        EXPECT_TRUE(reporter_.logLines.empty());
        EXPECT_FALSE(jobs_.conversion);
        EXPECT_FALSE(jobs_.textLink);
    }

    testsupport::TempDir dir_;
    testsupport::ScopedTemporaryDirectory tmpdir_{dir_.path()};
    RecordingReporter reporter_;
    RecordingJobs jobs_;
};

// --- Command line forms ---

// Command lines that print the usage text and nothing else.
std::vector<Lines> usageCommandLines() {
    return {
        {},
        {"-h"},
        {"-h", "-b", encodeArgumentCodes("input=a|output=b|range=1|d=2")},  // whatever follows
        {"-b"},  // a mode without settings
        {"-a"},
        {"-x"},  // unknown switches
        {"-B", encodeArgumentCodes("input=a")},
        {"b", "c"},
        {""},
        {"--help"},
        {"-b", "ohkV5"},  // undecodable -b settings
        {"-b", "ohkV5_"},
        {"-b", ""},
        {"-b", "12345678\xFF"},
        {"-b", "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a"},
        {"-b", encodeArgumentCodes("output=/o|range=1|divide=2")},  // a required -b item missing
        {"-b", encodeArgumentCodes("input=/i|range=1|divide=2")},
        {"-b", encodeArgumentCodes("input=/i|output=/o|divide=2")},
        {"-b", encodeArgumentCodes("input=/i|output=/o|range=1")},
        {"-b",
         encodeArgumentCodes("input=/i|output=/o|range=1|type=2|r2l=1|html5=1|p=x|id=y|t2l=3")},
        {"-b", encodeArgumentCodes("")},
    };
}

TEST_F(Entry, CommandLinesThatPrintTheUsageOnly) {
    for (const Lines& arguments : usageCommandLines()) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        reporter_.outLines.clear();
        EXPECT_EQ(run(arguments), 0);
        expectUsageOnly();
    }
}

TEST_F(Entry, ExitStatusIsTheLowByteOfTheConversionResult) {
    EXPECT_EQ(frontend::exitStatus(0), 0);
    EXPECT_EQ(frontend::exitStatus(-1), 255);
    EXPECT_EQ(frontend::exitStatus(1), 1);
}

// --- -b: completeness ---

TEST_F(Entry, DivideAloneOrAspectRatioAloneCompletesTheSettings) {
    EXPECT_EQ(runB("input=/i|output=/o|range=1|divide=2"), 0);
    EXPECT_TRUE(jobs_.conversion);
    jobs_.conversion.reset();
    EXPECT_EQ(runB("input=/i|output=/o|range=1|aspect_ratio=1.5"), 0);
    EXPECT_TRUE(jobs_.conversion);
}

TEST_F(Entry, ConversionResultIsTheExitStatus) {
    jobs_.conversionResult = -1;
    EXPECT_EQ(runB("input=/i|output=/o|range=1|d=2"), 255);
    EXPECT_EQ(reporter_.outLines, Lines{"conversion ran"});
}

TEST_F(Entry, SettingsAfterTheCodesAreIgnored) {
    EXPECT_EQ(run({"-b", encodeArgumentCodes("input=/i|output=/o|range=1|d=2"), "-h", "x"}), 0);
    EXPECT_EQ(jobs_.conversion->inputFile, "/i");
}

// --- -b: property values ---

TEST_F(Entry, ConversionDefaults) {
    const convert::QXAnnos& job = convertWith("ar=1.5");
    EXPECT_EQ(job.inputFile, "/in.pdf");
    EXPECT_EQ(job.outputFile, "/out");
    EXPECT_EQ(job.pageRange, "1-3");
    EXPECT_EQ(job.password, std::nullopt);
    EXPECT_EQ(job.wideMode, 0);
    EXPECT_EQ(job.divWidth, 0);
    EXPECT_FALSE(job.isHTML5Annotions);
    EXPECT_EQ(job.taskID, std::nullopt);
    EXPECT_FALSE(job.isRight2Left);
    EXPECT_TRUE(job.isNewMode);
    EXPECT_EQ(job.aspectRatio, 1.5);
    EXPECT_FALSE(job.isText2Link);
    EXPECT_EQ(job.typeOfText2Link, 3);
    EXPECT_TRUE(jobs_.detections.empty());
}

TEST_F(Entry, ConversionAliases) {
    EXPECT_EQ(runB("i=/a.pdf|o=/b|r=2|d=700:0|p=secret|h5=1|id=job|right2left=1|"
                   "aspect_ratio=0.75|text2link=tel"),
              0);
    ASSERT_TRUE(jobs_.conversion);
    const convert::QXAnnos& job = *jobs_.conversion;
    EXPECT_EQ(job.inputFile, "/a.pdf");
    EXPECT_EQ(job.outputFile, "/b");
    EXPECT_EQ(job.pageRange, "2");
    EXPECT_EQ(job.wideMode, 1);
    EXPECT_EQ(job.divWidth, 700);
    EXPECT_EQ(job.password, "secret");
    EXPECT_TRUE(job.isHTML5Annotions);
    EXPECT_EQ(job.taskID, "job");
    EXPECT_TRUE(job.isRight2Left);
    EXPECT_EQ(job.aspectRatio, 0.75);
    EXPECT_TRUE(job.isNewMode);
    EXPECT_TRUE(job.isText2Link);
    EXPECT_EQ(job.typeOfText2Link, 2);
}

TEST_F(Entry, DivideOneMeasuresTheWidth) {
    const convert::QXAnnos& job = convertWith("divide=1|password=pw");
    EXPECT_EQ(job.wideMode, 1);
    EXPECT_EQ(job.divWidth, 612);
    ASSERT_EQ(jobs_.detections.size(), 1u);
    EXPECT_EQ(jobs_.detections[0].first, "/in.pdf");
    EXPECT_EQ(jobs_.detections[0].second, "pw");
    EXPECT_FALSE(job.isNewMode);
}

// The divide items of a complete -b job, the wide mode and width the job gets, and how many
// times the width was measured.
struct DivideCase {
    const char* name;
    const char* items;
    std::int64_t wideMode;
    std::int64_t divWidth;
    std::size_t measurements;
};

const DivideCase kDivideCases[] = {
    {"WidthZeroMeasuresTheWidth", "divide=0:5", 1, 612, 1},
    {"AWidthFixesIt", "divide=700:1", 1, 700, 0},
    {"TwoDividesEveryPageWithoutMeasuring", "divide=2", 2, 0, 0},
    {"AFixedWidthKeepsAnEarlierMeasuringRequest", "divide=1|divide=700:1", 1, 612, 1},
    {"MeasuresOnlyWhenTheLastWideModeIsOne", "divide=700:1|divide=2", 2, 700, 0},
    // Values that are not width and something are the wide mode.
    {"ThreePiecesAreTheWideMode", "divide=700:1:3", 700, 0, 0},
    {"NoNumberIsWideModeZero", "divide=abc", 0, 0, 0},
    {"NegativeWideMode", "divide=-3", -3, 0, 0},
};

class EntryDivide : public Entry, public testing::WithParamInterface<DivideCase> {};

TEST_P(EntryDivide, SetsWideModeAndWidth) {
    const DivideCase& c = GetParam();
    const convert::QXAnnos& job = convertWith(c.items);
    EXPECT_EQ(job.wideMode, c.wideMode);
    EXPECT_EQ(job.divWidth, c.divWidth);
    EXPECT_EQ(jobs_.detections.size(), c.measurements);
}

INSTANTIATE_TEST_SUITE_P(Entry, EntryDivide, testing::ValuesIn(kDivideCases),
                         [](const testing::TestParamInfo<DivideCase>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(Entry, MeasuringHappensBeforeTheSettingsAreChecked) {
    EXPECT_EQ(runB("input=/a.pdf|divide=1"), 0);
    EXPECT_EQ(jobs_.detections.size(), 1u);
    EXPECT_EQ(jobs_.detections[0].second, std::nullopt);
    expectUsageOnly();
}

TEST_F(Entry, AspectRatioIsReadInSinglePrecision) {
    const convert::QXAnnos& job = convertWith("ar=1.3333");
    EXPECT_EQ(job.aspectRatio, static_cast<double>(1.3333f));
    EXPECT_TRUE(job.isNewMode);
    EXPECT_EQ(job.wideMode, 0);
}

TEST_F(Entry, AspectRatioThatIsNoNumberIsZeroButStillCounts) {
    const convert::QXAnnos& job = convertWith("ar=wide");
    EXPECT_EQ(job.aspectRatio, 0.0);
    EXPECT_TRUE(job.isNewMode);
}

// Items after "d=2|" and the switch they leave set or clear.
struct SwitchCase {
    const char* items;
    bool convert::QXAnnos::*field;
    bool expected;
};

TEST_F(Entry, SwitchItems) {
    using convert::QXAnnos;
    const SwitchCase cases[] = {
        // Right to left is set by a non-zero number and never cleared.
        {"r2l=1", &QXAnnos::isRight2Left, true},
        {"r2l=-4", &QXAnnos::isRight2Left, true},
        {"r2l=0", &QXAnnos::isRight2Left, false},
        {"r2l=yes", &QXAnnos::isRight2Left, false},
        {"r2l=1|r2l=0", &QXAnnos::isRight2Left, true},
        // HTML5 keeps only the low eight bits.
        {"html5=256", &QXAnnos::isHTML5Annotions, false},
        {"html5=1", &QXAnnos::isHTML5Annotions, true},
        {"html5=257", &QXAnnos::isHTML5Annotions, true},
        {"html5=-1", &QXAnnos::isHTML5Annotions, true},
        {"html5=abc", &QXAnnos::isHTML5Annotions, false},
        {"html5=1|html5=256", &QXAnnos::isHTML5Annotions, false},
    };
    for (const SwitchCase& c : cases) {
        SCOPED_TRACE(c.items);
        EXPECT_EQ(convertWith(std::string("d=2|") + c.items).*c.field, c.expected);
    }
}

TEST_F(Entry, TextToLinkTypeWordsAndNumbers) {
    struct Case {
        const char* items;
        bool isText2Link;
        std::int64_t type;
    };
    const Case cases[] = {
        {"t2l=ALL", true, 3},       {"t2l=all", true, 3},     {"t2l=Tel", true, 2},
        {"t2l=LINK", true, 1},      {"t2l=5", true, 5},       {"t2l=2", true, 2},
        {"t2l=0", false, 3},        {"t2l=abc", false, 3},    {"t2l=-2", false, 3},
        {"t2l=tel|t2l=0", true, 2}, {"t2l=1|t2l=x", true, 1}, {"text2link=link", true, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.items);
        const convert::QXAnnos& job = convertWith(std::string("d=2|") + c.items);
        EXPECT_EQ(job.isText2Link, c.isText2Link);
        EXPECT_EQ(job.typeOfText2Link, c.type);
    }
}

TEST_F(Entry, PathsArriveWithBarAndEqualsRestored) {
    EXPECT_EQ(runB("input=/a:7C:b:3D:c.pdf|output=/o:3D:1:7C:2|range=1|d=2"), 0);
    ASSERT_TRUE(jobs_.conversion);
    EXPECT_EQ(jobs_.conversion->inputFile, "/a|b=c.pdf");
    EXPECT_EQ(jobs_.conversion->outputFile, "/o=1|2");
}

TEST_F(Entry, BarIsRestoredBeforeEquals) {
    EXPECT_EQ(convertWith("d=2|input=:7C:3D:").inputFile, "|3D:");
}

TEST_F(Entry, OnlyPathsAreUnescaped) {
    const convert::QXAnnos& job = convertWith("d=2|p=a:7C:b|id=c:3D:d|range=:7C:");
    EXPECT_EQ(job.password, "a:7C:b");
    EXPECT_EQ(job.taskID, "c:3D:d");
    EXPECT_EQ(job.pageRange, ":7C:");
}

TEST_F(Entry, PathWithALiteralEqualsIsIgnored) {
    EXPECT_EQ(runB("input=/a=b.pdf|output=/o|range=1|d=2"), 0);
    expectUsageOnly();
    EXPECT_EQ(convertWith("d=2|input=/x=y.pdf").inputFile, "/in.pdf");
}

TEST_F(Entry, KeysAreCaseInsensitiveAndValuesKeepTheirCase) {
    EXPECT_EQ(runB("INPUT=/In.PDF|Output=/Out|RANGE=All|Divide=2|PASSWORD=PwD|ID=Job"), 0);
    ASSERT_TRUE(jobs_.conversion);
    EXPECT_EQ(jobs_.conversion->inputFile, "/In.PDF");
    EXPECT_EQ(jobs_.conversion->outputFile, "/Out");
    EXPECT_EQ(jobs_.conversion->pageRange, "All");
    EXPECT_EQ(jobs_.conversion->wideMode, 2);
    EXPECT_EQ(jobs_.conversion->password, "PwD");
    EXPECT_EQ(jobs_.conversion->taskID, "Job");
}

TEST_F(Entry, LaterItemsOverrideEarlierOnes) {
    const convert::QXAnnos& job =
        convertWith("d=2|input=/first.pdf|i=/second.pdf|p=1|password=2|ar=2|ar=3");
    EXPECT_EQ(job.inputFile, "/second.pdf");
    EXPECT_EQ(job.password, "2");
    EXPECT_EQ(job.aspectRatio, 3.0);
}

TEST_F(Entry, MalformedItemsAndUnknownKeysAreSkipped) {
    const convert::QXAnnos& job =
        convertWith("d=2||garbage|=|input|a=b=c|i=/x.pdf=|type=1|unknown=7|inputs=/no| i=/no");
    EXPECT_EQ(job.inputFile, "/in.pdf");
    EXPECT_TRUE(reporter_.logLines.empty());
}

TEST_F(Entry, EmptyValuesAreValues) {
    const convert::QXAnnos& job = convertWith("d=2|p=|id=");
    EXPECT_EQ(job.password, "");
    EXPECT_EQ(job.taskID, "");
}

// --- -b: stop flag ---

// Either job, given the identifier of a flag the host has raised, sees the stop request; the
// flag is closed again and its file left to the host.
struct StopCase {
    const char* name;
    const char* mode;
    const char* items;
    const char* identifier;
};

const StopCase kStopCases[] = {
    {"Conversion", "-b", "input=/i|output=/o|range=1|d=2|id=job-1", "job-1"},
    {"TextLink", "-a", "input=/a.pdf|range=1|identifier=t1", "t1"},
};

class EntryStop : public Entry, public testing::WithParamInterface<StopCase> {};

TEST_P(EntryStop, JobSeesTheHostsStopRequest) {
    const StopCase& c = GetParam();
    testsupport::HostStopFlag host(dir_.path(), c.identifier);
    host.set();
    EXPECT_EQ(run({c.mode, encodeArgumentCodes(c.items)}), 0);
    EXPECT_EQ(jobs_.stopWasSet, true);
    EXPECT_EQ(frontend::gShareMemoryFile, -1);
    EXPECT_TRUE(fs::exists(host.path()));
}

INSTANTIATE_TEST_SUITE_P(Entry, EntryStop, testing::ValuesIn(kStopCases),
                         [](const testing::TestParamInfo<StopCase>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(Entry, ConversionWithoutIdentifierNeverStops) {
    testsupport::HostStopFlag host(dir_.path(), "");
    host.set();
    EXPECT_EQ(runB("input=/i|output=/o|range=1|d=2"), 0);
    EXPECT_EQ(jobs_.stopWasSet, false);
}

TEST_F(Entry, ConversionOpensTheFlagFileOfItsIdentifier) {
    EXPECT_EQ(runB("input=/i|output=/o|range=1|d=2|identifier=77"), 0);
    EXPECT_EQ(jobs_.stopWasSet, false);
    EXPECT_EQ(fs::file_size(dir_ / "Tarn_77"), 800u);
}

// --- -a: encoded settings ---

// -a command lines that end at once with status 0 and no output at all.
std::vector<Lines> silentTextLinkCommandLines() {
    return {
        {"-a", encodeArgumentCodes("input=/a.pdf")},  // without input or range
        {"-a", encodeArgumentCodes("range=1")},
        {"-a", encodeArgumentCodes("input=/a.pdf|password=x|type=2")},
        {"-a", encodeArgumentCodes("")},
        {"-a", "ohkV5"},  // undecodable settings
        {"-a", ""},
        {"-a", "12345678\xFF"},
        {"-a", encodeArgumentCodes("input=/a.pdf|range=1|type=0")},  // type 0 ends at once
        {"-a", encodeArgumentCodes("t=0|input=/a.pdf|range=1")},
        {"-a", encodeArgumentCodes("input=/a.pdf|range=1|type=abc")},
    };
}

TEST_F(Entry, TextLinkCommandLinesThatDoNothing) {
    for (const Lines& arguments : silentTextLinkCommandLines()) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        EXPECT_EQ(run(arguments), 0);
        expectNothing();
    }
}

// -a command lines, encoded or positional, and the properties the job gets. Without an
// identifier no flag file is made; with the flag of raisedFlag raised by the host the job sees
// the stop request.
struct TextLinkCase {
    const char* name;
    Lines arguments;
    std::string pdfFile;
    std::string pageRange;
    std::optional<std::string> password;
    int parseType;
    std::optional<std::string> taskID;
    const char* raisedFlag = nullptr;
};

std::vector<TextLinkCase> textLinkCases() {
    return {
        {"Defaults",
         {"-a", encodeArgumentCodes("input=/a.pdf|range=1-3")},
         "/a.pdf",
         "1-3",
         std::nullopt,
         3,
         std::nullopt},
        {"AliasesAndEscapes",
         {"-a", encodeArgumentCodes("I=/a:7C:b:3D:.pdf|r=ALL|p=pw|t=2|id=x")},
         "/a|b=.pdf",
         "ALL",
         "pw",
         2,
         "x"},
        {"PositionalPathAndRange",
         {"-a", "file.pdf", "1-3"},
         "file.pdf",
         "1-3",
         std::nullopt,
         3,
         std::nullopt},
        {"PositionalEverything",
         {"-a", "a:7C:b.pdf", "2,4", "pw", "2", "p9", "ignored"},
         "a:7C:b.pdf",
         "2,4",
         "pw",
         2,
         "p9",
         "p9"},
        {"PositionalTypeZeroStillRuns",
         {"-a", "f.pdf", "1", "", "0"},
         "f.pdf",
         "1",
         "",
         0,
         std::nullopt},
    };
}

class EntryTextLink : public Entry, public testing::WithParamInterface<TextLinkCase> {};

TEST_P(EntryTextLink, SetsTheJobsProperties) {
    const TextLinkCase& c = GetParam();
    std::optional<testsupport::HostStopFlag> host;
    if (c.raisedFlag != nullptr) host.emplace(dir_.path(), c.raisedFlag).set();
    EXPECT_EQ(run(c.arguments), 0);
    ASSERT_TRUE(jobs_.textLink);
    EXPECT_EQ(jobs_.textLink->pdfFile, c.pdfFile);
    EXPECT_EQ(jobs_.textLink->pageRange, c.pageRange);
    EXPECT_EQ(jobs_.textLink->password, c.password);
    EXPECT_EQ(jobs_.textLink->parseType, c.parseType);
    EXPECT_EQ(jobs_.textLink->taskID, c.taskID);
    EXPECT_EQ(jobs_.stopWasSet, c.raisedFlag != nullptr);
    EXPECT_TRUE(reporter_.outLines.empty());
    EXPECT_EQ(reporter_.logLines, Lines{"text-to-link ran"});
    if (!c.taskID) {
        EXPECT_TRUE(fs::is_empty(dir_.path()));
    }
}

INSTANTIATE_TEST_SUITE_P(Entry, EntryTextLink, testing::ValuesIn(textLinkCases()),
                         [](const testing::TestParamInfo<TextLinkCase>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(Entry, TextLinkTypeTakesAnyOtherNumber) {
    EXPECT_EQ(runA("input=/a.pdf|range=1|type=-1"), 0);
    EXPECT_EQ(jobs_.textLink->parseType, -1);
    EXPECT_EQ(runA("input=/a.pdf|range=1|type=1|type=7x"), 0);
    EXPECT_EQ(jobs_.textLink->parseType, 7);
}

TEST_F(Entry, EachJobKnowsOnlyItsOwnKeys) {
    EXPECT_EQ(runA("input=/a.pdf|range=1|output=/o|divide=2|t2l=1|type=2"), 0);
    ASSERT_TRUE(jobs_.textLink);
    EXPECT_EQ(jobs_.textLink->parseType, 2);
    EXPECT_EQ(convertWith("d=2|type=0").typeOfText2Link, 3);
}

TEST_F(Entry, TextLinkExitsZeroWhateverTheJobDoes) {
    jobs_.conversionResult = -1;
    EXPECT_EQ(runA("input=/missing.pdf|range=1"), 0);
}

// --- -a: positional arguments ---

}  // namespace
