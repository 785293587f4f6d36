#pragma once
// The shared corpus of real-world PDFs, read in place, as its MANIFEST.tsv describes it. The
// folder is the CMake cache variable PDFA_CORPUS_DIR (by default ../shared/corpus beside the
// repository). Without it every test that reads it skips with one line saying where it looked:
//
//   TEST_P(Suite, Name) {
//       PDFA_SKIP_WITHOUT_CORPUS();
//       ...
//   }
//   INSTANTIATE_TEST_SUITE_P(Files, Suite, ::testing::ValuesIn(testsupport::corpusCases()),
//                            testsupport::corpusTestName);

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace testsupport {

struct CorpusFile {
    std::string file;
    std::string pages;  // a number, "N (mutool)" or "n/a"
    std::string encryption;
    std::string categories;  // comma-separated; "damaged" among them for broken files
    std::optional<std::string> userPassword;  // nullopt when unknown or not encrypted
    std::optional<std::string> ownerPassword;
    std::string linkUriCount;  // a number or "n/a"
    std::string linkNamedCount;
    std::string notes;

    std::filesystem::path path() const;
    bool isDamaged() const;
    int pageCount() const;  // the leading number of "pages"; 0 when there is none
};

// The corpus folder, and whether it holds a manifest.
std::filesystem::path corpusDir();
bool corpusPresent();
// The one line a test skipped for want of the corpus prints; .ci/run looks for its start.
std::string corpusAbsentMessage();

// Every file of the manifest, in its order; the columns are found by their names.
std::vector<CorpusFile> readCorpusManifest();
// The manifest's files; without the corpus one placeholder, so that each suite over the corpus
// still has a test to report as skipped (gtest fails a suite that has none).
std::vector<CorpusFile> corpusCases();

// Prints the file's name, not the record's bytes, for gtest and the CTest test names.
void PrintTo(const CorpusFile& file, std::ostream* out);

// A test name made of the file's position and name.
std::string corpusTestName(const ::testing::TestParamInfo<CorpusFile>& info);

}  // namespace testsupport

#define PDFA_SKIP_WITHOUT_CORPUS() \
    if (!testsupport::corpusPresent()) GTEST_SKIP() << testsupport::corpusAbsentMessage()
