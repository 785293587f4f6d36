// The built PDFAnnotations, with codes texts from pdfannotations-host, run as the host runs them.

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>

#include "support/HostStopFlag.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ProcessResult;

const std::string kUsage =
    "\n\n"
    "  -b converts the link annotations of the selected pages into XML for the page editor or the "
    "HTML5 animation editor.\n"
    "  -a finds web addresses, e-mail addresses and phone numbers in the page text and adds them "
    "to the PDF as links.\n"
    "  {codes} is the job's settings, key=value items joined by \"|\", enciphered by the host.\n"
    "\n\n"
    "PDF Annotations usesage:\n"
    "1:parse annos:{PDFAnnotations} -b {codes}\n"
    "2.parse text to link annos:{PDFAnnotations} -a {codes}\n"
    "\n\n";

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Every run gets a temporary directory of its own, as parallel tests must never share one.
class Frontend : public testing::Test {
  protected:
    ProcessResult tool(const std::vector<std::string>& arguments) {
        return testsupport::runProcess(PDFA_TOOL, arguments, {{"TMPDIR", dir_.path().string()}});
    }

    static ProcessResult codesTool(const std::vector<std::string>& arguments) {
        return testsupport::runProcess(PDFA_CODES_TOOL, arguments);
    }

    // The codes text of items, made as the host would make it.
    static std::string codes(const std::string& items) {
        ProcessResult encoded = codesTool({"encode", items});
        EXPECT_EQ(encoded.exitStatus, 0);
        EXPECT_EQ(encoded.out.back(), '\n');
        return encoded.out.substr(0, encoded.out.size() - 1);
    }

    static void expectUsage(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, kUsage);
        EXPECT_EQ(result.err, "");
    }

    static void expectSilentSuccess(const ProcessResult& result) {
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "");
    }

    testsupport::TempDir dir_;
};

TEST_F(Frontend, HelpPrintsTheUsage) { expectUsage(tool({"-h"})); }

TEST_F(Frontend, NoArgumentPrintsTheUsage) { expectUsage(tool({})); }

TEST_F(Frontend, ConversionWithoutSettingsPrintsTheUsage) { expectUsage(tool({"-b"})); }

TEST_F(Frontend, UnknownSwitchPrintsTheUsage) { expectUsage(tool({"-z", "x"})); }

TEST_F(Frontend, UndecodableCodesPrintTheUsage) {
    expectUsage(tool({"-b", "not a codes text \xFF"}));
}

TEST_F(Frontend, IncompleteConversionSettingsPrintTheUsage) {
    expectUsage(tool({"-b", codes("input=/a.pdf|output=/out|divide=1")}));
}

TEST_F(Frontend, FiveSymbolCodesDoNotCrash) {
    expectUsage(tool({"-b", "ohkV5"}));
    expectSilentSuccess(tool({"-a", "ohkV5"}));
}

TEST_F(Frontend, TextLinkWithoutInputOrRangePrintsNothing) {
    expectSilentSuccess(tool({"-a", codes("input=/a.pdf")}));
    expectSilentSuccess(tool({"-a", codes("range=1-3")}));
}

TEST_F(Frontend, TextLinkTypeZeroEndsAtOnce) {
    const fs::path pdf = dir_ / "book.pdf";
    std::ofstream(pdf) << "left alone";
    expectSilentSuccess(tool({"-a", codes("input=" + pdf.string() + "|range=ALL|type=0|id=9")}));
    EXPECT_EQ(contentOf(pdf), "left alone");
    EXPECT_FALSE(fs::exists(dir_ / "Tarn_9"));
}

TEST_F(Frontend, TextLinkExitsZeroEvenWhenTheJobFails) {
    EXPECT_EQ(
        tool({"-a", codes("input=" + (dir_ / "missing.pdf").string() + "|range=1")}).exitStatus, 0);
    EXPECT_EQ(tool({"-a", (dir_ / "missing.pdf").string(), "1-3"}).exitStatus, 0);
}

TEST_F(Frontend, TextLinkOpensTheHostsFlagFileAndOnlyReadsIt) {
    testsupport::HostStopFlag host(dir_.path(), "job-5", 10);
    host.set();
    host.write(0, 0x5A);
    ProcessResult result = tool({"-a", (dir_ / "missing.pdf").string(), "1", "", "3", "job-5"});
    EXPECT_EQ(result.exitStatus, 0);
    // The tool sized the host's file and left it, and its flag bytes, in place.
    EXPECT_EQ(fs::file_size(host.path()), 800u);
    EXPECT_EQ(host.read(0), 0x5A);
    EXPECT_EQ(host.read(1), 1);
}

TEST_F(Frontend, ConversionCreatesTheFlagFileOfItsIdentifier) {
    const std::string items = "input=" + (dir_ / "missing.pdf").string() +
                              "|output=" + (dir_ / "out").string() +
                              "|range=1|divide=2|identifier=c-1";
    ProcessResult result = tool({"-b", codes(items)});
    EXPECT_EQ(result.signal, 0);
    const fs::path flag = dir_ / "Tarn_c-1";
    ASSERT_TRUE(fs::exists(flag));
    EXPECT_EQ(fs::file_size(flag), 800u);
    EXPECT_EQ(fs::status(flag).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Frontend, WithoutIdentifierNoFlagFileIsMade) {
    EXPECT_EQ(tool({"-a", (dir_ / "missing.pdf").string(), "1"}).exitStatus, 0);
    for (const fs::directory_entry& entry : fs::directory_iterator(dir_.path())) {
        EXPECT_NE(entry.path().filename().string().rfind("Tarn_", 0), 0u) << entry.path();
    }
}

TEST_F(Frontend, SymbolicLinkInPlaceOfTheFlagFileIsNotFollowed) {
    testsupport::TempDir elsewhere;
    const fs::path target = elsewhere / "precious";
    std::ofstream(target) << "keep me";
    fs::create_symlink(target, dir_ / "Tarn_s1");
    EXPECT_EQ(tool({"-a", (dir_ / "missing.pdf").string(), "1", "", "3", "s1"}).exitStatus, 0);
    EXPECT_EQ(contentOf(target), "keep me");
    EXPECT_TRUE(fs::is_symlink(dir_ / "Tarn_s1"));
}

// --- the codes texts of pdfannotations-host ---

TEST_F(Frontend, CodesToolRoundTrips) {
    const std::string items =
        "input=/b\xC3\xBC"
        "cher/a.pdf|range=ALL";
    const std::string encoded = codes(items);
    EXPECT_EQ(encoded.back(), '_');
    ProcessResult decoded = codesTool({"decode", encoded});
    EXPECT_EQ(decoded.exitStatus, 0);
    EXPECT_EQ(decoded.out, items + "\n");
    EXPECT_EQ(decoded.err, "");
}

TEST_F(Frontend, CodesToolRefusesUndecodableText) {
    ProcessResult decoded = codesTool({"decode", "ohkV5"});
    EXPECT_EQ(decoded.exitStatus, 1);
    EXPECT_EQ(decoded.out, "");
    EXPECT_EQ(decoded.err, "pdfannotations-host: the codes text cannot be decoded\n");
}

TEST_F(Frontend, ProcessRunnerKillsAChildAtTheTimeLimit) {
    ProcessResult result =
        testsupport::runProcess("/bin/sleep", {"30"}, {}, std::chrono::milliseconds(200));
    EXPECT_TRUE(result.started);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.signal, SIGKILL);
}

}  // namespace
