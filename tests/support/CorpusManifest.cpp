#include "support/CorpusManifest.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace testsupport {
namespace {

std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> fields;
    std::stringstream in(line);
    std::string field;
    while (std::getline(in, field, '\t')) fields.push_back(field);
    return fields;
}

// The manifest writes "-" for no encryption, "(empty)" for the empty password and "(unknown)"
// for one nobody documented; any other value is the password in UTF-8.
std::optional<std::string> passwordField(const std::string& field) {
    if (field == "-" || field == "(unknown)") return std::nullopt;
    if (field == "(empty)") return std::string();
    return field;
}

}  // namespace

std::filesystem::path corpusDir() { return std::filesystem::path(PDFA_CORPUS_DIR); }

bool corpusPresent() { return std::filesystem::is_regular_file(corpusDir() / "MANIFEST.tsv"); }

std::string corpusAbsentMessage() {
    return "corpus not found at " + corpusDir().lexically_normal().string() +
           " (no MANIFEST.tsv); configure with -DPDFA_CORPUS_DIR=<folder> to run this test";
}

std::filesystem::path CorpusFile::path() const { return corpusDir() / file; }

bool CorpusFile::isDamaged() const {
    return ("," + categories + ",").find(",damaged,") != std::string::npos;
}

int CorpusFile::pageCount() const { return std::atoi(pages.c_str()); }

std::vector<CorpusFile> readCorpusManifest() {
    std::ifstream in(corpusDir() / "MANIFEST.tsv");
    std::string line;
    std::getline(in, line);
    const std::vector<std::string> header = splitTabs(line);
    auto column = [&](const std::string& name) {
        return static_cast<std::size_t>(std::find(header.begin(), header.end(), name) -
                                        header.begin());
    };
    std::vector<CorpusFile> files;
    while (std::getline(in, line)) {
        std::vector<std::string> f = splitTabs(line);
        f.resize(header.size() + 1);  // the extra field stands for a missing column
        if (f[column("file")].empty()) continue;
        files.push_back({f[column("file")], f[column("pages")], f[column("encryption")],
                         f[column("categories")], passwordField(f[column("user_password")]),
                         passwordField(f[column("owner_password")]), f[column("link_uri_count")],
                         f[column("link_named_count")], f[column("notes")]});
    }
    return files;
}

std::vector<CorpusFile> corpusCases() {
    if (corpusPresent()) return readCorpusManifest();
    CorpusFile placeholder;
    placeholder.file = "corpus not found";
    return {placeholder};
}

void PrintTo(const CorpusFile& file, std::ostream* out) { *out << file.file; }

std::string corpusTestName(const ::testing::TestParamInfo<CorpusFile>& info) {
    std::string name = std::to_string(info.index) + "_";
    for (char c : info.param.file) name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

}  // namespace testsupport
