#pragma once
// The shared corpus of real-world PDFs, read in place, as its MANIFEST.tsv describes it.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
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

// Every file of the manifest, in its order; the columns are found by their names.
std::vector<CorpusFile> readCorpusManifest();

// A test name made of the file's position and name.
std::string corpusTestName(const ::testing::TestParamInfo<CorpusFile>& info);

}  // namespace testsupport
