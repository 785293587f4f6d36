// Hostile and broken PDFs through the real executable: each file goes through -b for the page
// editor, -b for the slides (with text links, every page divided) and -a. Whatever the file,
// every run ends by itself within the stated time and memory, never by a signal; -b exits 0
// (255 only when the document does not open, with its one line) and writes well-formed XML;
// -a exits 0 silently and leaves the file byte-identical or a PDF that opens with the same
// pages, with no temporary file left beside it. -b never touches its input.
//
// Each test prints its figures (inputs, runs, longest run, peak memory) for docs/RELIABILITY.md.

#include "robustness/HostilePdfs.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "robustness/Books.h"
#include "robustness/ToolJobs.h"
#include "support/CorpusManifest.h"
#include "support/TempDir.h"

namespace {

using namespace robustness;

// Bounds for one run under AddressSanitizer, which is several times slower and hungrier than a
// release build.
constexpr Limits kLimits{std::chrono::seconds(120), 2048, 256};

class HostilePdfs : public testing::Test {
protected:
    void runCases(const std::vector<HostileCase>& cases, Limits limits = kLimits) {
        Figures figures;
        for (std::size_t k = 0; k < cases.size(); ++k) {
            SCOPED_TRACE(cases[k].name);
            expectEveryJobCopes(cases[k].bytes, dir_.path() / ("case" + std::to_string(k)), limits,
                                figures);
        }
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::printf(
            "[figures] %s: %d inputs, %d runs, longest run %.1f s, peak %ld MiB, "
            "-b refused %d\n",
            test->name(), figures.inputs, figures.runs, figures.longestSeconds,
            figures.peakKiB / 1024, figures.refused);
    }

    testsupport::TempDir dir_;
};

TEST_F(HostilePdfs, TruncatedFiles) { runCases(truncations()); }

TEST_F(HostilePdfs, FlippedBytes) { runCases(byteFlips()); }

TEST_F(HostilePdfs, BrokenCrossReferences) { runCases(brokenCrossReferences()); }

TEST_F(HostilePdfs, BrokenPageTrees) { runCases(brokenPageTrees()); }

TEST_F(HostilePdfs, LoopingReferences) { runCases(loopingReferences()); }

// 70 MB of /Pages nodes: loading the page tree once recursed per level until the stack
// overflowed; such a tree now leaves the document without pages.
TEST_F(HostilePdfs, PageTreeAMillionLevelsDeep) {
    runCases({{"page tree 1000000 levels deep", pageChain(1000000)}},
             Limits{std::chrono::minutes(5), 4096, 256});
}

// Loading a page looks up its links' named destinations in the catalog's name tree and scans
// its resources through every nested form, recursing once per level: 70,000 levels of either
// overflowed the stack (SIGSEGV), and 50,000 took seconds. Too deep a nesting now keeps the page
// from the engine: it has no text, so -a leaves the file as it was; a shallow one still gives
// the page's text.
TEST_F(HostilePdfs, DeepNestingWhenAPageLoads) {
    const std::vector<HostileCase> deep = {
        {"named-destination tree 75000 levels deep", destinationTreeChain(75000)},
        {"named-destination tree 50000 levels deep", destinationTreeChain(50000)},
        {"named-destination tree 33 levels deep", destinationTreeChain(33)},
        {"forms nested 75000 levels deep", formChain(75000)},
        {"forms nested 65 levels deep", formChain(65)},
    };
    for (const HostileCase& hostile : deep) {
        SCOPED_TRACE(hostile.name);
        const fs::path input = dir_.path() / "deep.pdf";
        ASSERT_TRUE(writeBytes(input, hostile.bytes));
        ToolResult result =
            runTool(PDFA_TOOL, textLinkArguments(input), environmentFor(dir_.path()), kLimits);
        expectTextLinkOutcome(result);
        EXPECT_EQ(readBytes(input), hostile.bytes) << "the page's text was read";
    }
    for (const std::string& shallow : {destinationTreeChain(32), formChain(64)}) {
        const fs::path input = dir_.path() / "shallow.pdf";
        ASSERT_TRUE(writeBytes(input, shallow));
        expectTextLinkOutcome(
            runTool(PDFA_TOOL, textLinkArguments(input), environmentFor(dir_.path()), kLimits));
        EXPECT_NE(readBytes(input), shallow) << "no links were added from the page's text";
    }
    runCases(deep);
}

// The slides of 100,000 links hold them all in one XML tree: over 1.5 GiB under the sanitizer.
TEST_F(HostilePdfs, HugeAnnotationArrays) {
    runCases(hugeAnnotationArrays(), Limits{std::chrono::seconds(300), 3072, 512});
}

TEST_F(HostilePdfs, InflationBombs) { runCases(inflationBombs()); }

// An RC4 file with an empty user password, its offsets 7 bytes off: the engine repairs it, and
// -a, which cannot append to a repaired file, writes it anew. That rewrite once gave a file whose
// encryption no longer matched its key, which no reader could open.
TEST_F(HostilePdfs, RepairedEncryptedFile) {
    linkBook(3).writeEncrypted(dir_.path() / "encrypted.pdf", "", "owner", "rc4-128");
    const std::string file = readBytes(dir_.path() / "encrypted.pdf");
    ASSERT_FALSE(file.empty());
    runCases({{"offsets 7 bytes off", file.substr(0, 9) + "%shift\n" + file.substr(9)}});
}

// A real file cut at 1 MiB, in the middle of its object streams: the engine's repair reloaded
// an object stream for every object packed in it, and opening took over ten minutes. The open
// now gives up after a few readings of the file. The file is the shared corpus's: a stream
// written here and cut the same way opens at once, so the test needs the corpus.
TEST_F(HostilePdfs, TruncatedObjectStreams) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const std::string file = readBytes(testsupport::corpusDir() / "pdfjs-bug1978317.pdf");
    ASSERT_GT(file.size(), 1u << 20);
    const std::string cut = file.substr(0, 1u << 20);
    ASSERT_TRUE(writeBytes(dir_.path() / "cut.pdf", cut));
    auto document = platform::Document::open((dir_.path() / "cut.pdf").string());
    ASSERT_FALSE(document.ok());
    EXPECT_EQ(document.error().message, "the document needs too much repair to open");
    runCases({{"cut at 1 MiB", cut}});
}

// A damaged file the Pdf fuzzer made from the shared corpus's pdfjs-bug1997343.pdf: it opens
// with 2 pages, but reading page 1 makes the engine repair it again, after which it has no
// catalog and no pages. -a once saved that state and replaced the 189 KB file with 171 bytes.
TEST_F(HostilePdfs, RepairWhilePagesAreReadKeepsTheFile) {
    const std::string file = readBytes(fs::path(PDFA_SOURCE_DIR) / "tests" / "robustness" /
                                       "reproducers" / "page-load-repair-empties-file.pdf");
    ASSERT_FALSE(file.empty());
    runCases({{"repaired again at page 1", file}});
}

}  // namespace
