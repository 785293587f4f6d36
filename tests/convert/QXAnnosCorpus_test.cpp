// Every PDF of the shared corpus converted for the page editor, page by page: no crash, and
// every file written parses again as one "pageAnnos" element. Big documents are cut to their
// first pages to keep the run short. Each document runs three times: undivided, with every page
// divided, and right to left with detected spreads and text links.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "convert/ConvertTestSupport.h"
#include "convert/GoldenXml.h"
#include "convert/QXAnnos.h"
#include "platform/PugiXML.h"
#include "support/CorpusManifest.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

constexpr int kMostPages = 30;

using testsupport::CorpusFile;

struct Variant {
    const char* name;
    std::int64_t wideMode;
    bool isRight2Left;
    bool isText2Link;
    bool isNewMode;
};

const Variant kVariants[] = {
    {"plain", 0, false, false, false},
    {"every page divided", 2, false, false, false},
    {"right to left, spreads by aspect, text links", 1, true, true, true},
};

bool isFiniteNumber(const std::optional<std::string>& text) {
    if (!text || text->empty()) return false;
    char* end = nullptr;
    double value = std::strtod(text->c_str(), &end);
    return *end == '\0' && std::isfinite(value);
}

void expectWellFormed(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().filename().string());
        std::optional<std::string> bytes = goldenxml::readFile(entry.path());
        ASSERT_TRUE(bytes);
        std::optional<platform::XmlDocument> xml = platform::XmlDocument::parse(*bytes);
        ASSERT_TRUE(xml) << *bytes;
        EXPECT_EQ(xml->root().name(), "pageAnnos");
        for (const platform::XmlNode& anno : xml->root().children("anno")) {
            platform::XmlNode location = anno.lastChild("location");
            for (const char* key : {"x", "y", "width", "height"}) {
                EXPECT_TRUE(isFiniteNumber(location.attribute(key))) << anno.toCompactString();
            }
        }
    }
}

class QXAnnosCorpus : public ::testing::TestWithParam<CorpusFile> {};

}  // namespace

TEST_P(QXAnnosCorpus, ConvertsEveryPageIntoWellFormedXml) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const CorpusFile& file = GetParam();
    testsupport::TempDir dir;
    for (const Variant& variant : kVariants) {
        SCOPED_TRACE(variant.name);
        fs::path out = dir / variant.name;
        fs::create_directories(out);
        convert::QXAnnos job;
        job.inputFile = file.path().string();
        job.outputFile = out.string();
        job.pageRange = file.pageCount() > kMostPages ? "1-" + std::to_string(kMostPages) : "ALL";
        job.password = file.userPassword;
        job.wideMode = variant.wideMode;
        job.isRight2Left = variant.isRight2Left;
        job.isText2Link = variant.isText2Link;
        job.isNewMode = variant.isNewMode;
        job.aspectRatio = 0.7;
        converttest::RecordingReporter reporter;
        platform::NeverStop neverStop;
        std::int64_t result = job.parseAnnosToXML(neverStop, reporter);
        if (result != 0) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(reporter.outLines,
                      std::vector<std::string>{"failed to verify the password!!!"});
            continue;
        }
        expectWellFormed(out);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, QXAnnosCorpus, ::testing::ValuesIn(testsupport::corpusCases()),
                         testsupport::corpusTestName);
