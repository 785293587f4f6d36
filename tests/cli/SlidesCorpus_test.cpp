// Every PDF of the shared corpus converted for the HTML5 animation editor by the built tool:
// no crash, and every file written is a well-formed slide. Only the first pages of each
// document are converted, to keep the run short; every page is divided and text links are
// looked for, so all of the writer's paths see real files.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "convert/SlidesTestSupport.h"
#include "platform/PugiXML.h"
#include "support/CorpusManifest.h"
#include "support/Process.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using testsupport::ProcessResult;

using testsupport::CorpusFile;

// "|" and "=" inside a path would split the item; the host writes them escaped.
std::string escapePath(const std::string& path) {
    std::string escaped;
    for (char c : path) {
        if (c == '|') {
            escaped += ":7C:";
        } else if (c == '=') {
            escaped += ":3D:";
        } else {
            escaped += c;
        }
    }
    return escaped;
}

std::string codes(const std::string& items) {
    ProcessResult encoded = testsupport::runProcess(PDFA_CODES_TOOL, {"encode", items});
    EXPECT_EQ(encoded.exitStatus, 0);
    if (encoded.out.empty()) return {};
    return encoded.out.substr(0, encoded.out.size() - 1);
}

class SlidesCorpus : public testing::TestWithParam<CorpusFile> {};

TEST_P(SlidesCorpus, ConvertsToWellFormedSlides) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const CorpusFile& file = GetParam();
    testsupport::TempDir dir;
    fs::create_directories(dir / "out");
    std::string items = "input=" + escapePath(file.path().string()) +
                        "|output=" + escapePath((dir / "out").string()) +
                        "|range=1-3|divide=2|html5=1|t2l=all|identifier=corpus";
    const std::string password = file.userPassword.value_or("");
    if (!password.empty()) items += "|password=" + password;
    ProcessResult result =
        testsupport::runProcess(PDFA_TOOL, {"-b", codes(items)}, {{"TMPDIR", dir.path().string()}});
    ASSERT_TRUE(result.started);
    EXPECT_FALSE(result.timedOut);
    EXPECT_EQ(result.signal, 0) << result.err;
    EXPECT_TRUE(result.exitStatus == 0 || result.exitStatus == 255) << result.exitStatus;
    if (password.size() >= 126) {
        // Too long to be applied, so the document stays locked.
        EXPECT_EQ(result.exitStatus, 255);
        EXPECT_EQ(result.out, "failed to verify the password!!!\n");
    } else if (!file.isDamaged()) {
        EXPECT_EQ(result.exitStatus, 0) << result.out << result.err;
        EXPECT_FALSE(fs::is_empty(dir / "out"));
    }
    for (const auto& entry : fs::directory_iterator(dir / "out")) {
        SCOPED_TRACE(entry.path().filename().string());
        std::optional<std::string> bytes = goldenxml::readFile(entry.path());
        ASSERT_TRUE(bytes);
        std::optional<platform::XmlDocument> slide = platform::XmlDocument::parse(*bytes);
        ASSERT_TRUE(slide);
        EXPECT_EQ(slide->root().name(), "slide");
        EXPECT_EQ(slide->toCompactString(), *bytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, SlidesCorpus, testing::ValuesIn(testsupport::corpusCases()),
                         testsupport::corpusTestName);

}  // namespace
