// Every PDF of the shared corpus of real-world files goes through everything the jobs read:
// opening with its passwords, each page's geometry, annotations (the model's and the raw link
// list), text, and the single-page width estimate. Nothing may crash, hang, leak or report a
// sanitizer error; where the corpus manifest documents facts, the answers must agree.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "pdf/CGPDFDocumentCreateX.h"
#include "pdf/ImprovePDFPage.h"
#include "pdf/detectWidePageForFile.h"
#include "platform/MuPDFDocument.h"
#include "support/AddLink.h"
#include "support/CorpusManifest.h"
#include "support/TempDir.h"

namespace {

using testsupport::CorpusFile;

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// The manifest's counts come from another reader's view of the object graph. They must match
// ours for intact files; how far a damaged file can be recovered differs between readers.
bool hasExactCounts(const CorpusFile& file) {
    return isNumber(file.pages) && file.categories.find("damaged") == std::string::npos;
}

std::string path(const CorpusFile& file) { return file.path().string(); }

class Corpus : public ::testing::TestWithParam<CorpusFile> {};

struct LinkCounts {
    long uri = 0;
    long named = 0;
};

std::optional<std::string> unlockingPassword(platform::Document& document, const CorpusFile& file) {
    for (const auto& password :
         {std::optional<std::string>(""), file.userPassword, file.ownerPassword}) {
        if (password && document.unlock(*password)) return password;
    }
    return std::nullopt;
}

LinkCounts readEveryPage(const platform::Document& document) {
    LinkCounts counts;
    platform::NeverStop never;
    int count = document.pageCount();
    for (int index = 0; index < count; ++index) {
        int rotation = document.rotation(index);
        EXPECT_TRUE(rotation == 0 || rotation == 90 || rotation == 180 || rotation == 270);
        platform::Rect box = document.cropBox(index);
        EXPECT_GE(box.width, 0);
        EXPECT_GE(box.height, 0);
        for (const platform::Annotation& a : document.annotations(index)) {
            if (a.type != "Link" || !a.mouseUpAction) continue;
            counts.uri += a.mouseUpAction->kind == platform::Action::Kind::URL ? 1 : 0;
            counts.named += a.mouseUpAction->kind == platform::Action::Kind::Named ? 1 : 0;
        }
        pdf::fmAnnotations(document, index, never);
        auto text = document.pageText(index);
        if (text.ok()) {
            EXPECT_EQ(text->text.size(), text->boxes.size());
        }
    }
    return counts;
}

TEST_P(Corpus, EverythingTheJobsReadIsReadSafely) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const CorpusFile& file = GetParam();
    auto opened = platform::Document::open(path(file));
    if (!opened.ok()) {
        EXPECT_FALSE(hasExactCounts(file) && file.encryption == "none")
            << "an intact file failed to open: " << opened.error().message;
        return;
    }
    platform::Document& document = *opened;
    bool unlocked = document.unlock("") ||
                    (file.userPassword && document.unlock(*file.userPassword)) ||
                    (file.ownerPassword && document.unlock(*file.ownerPassword));
    if (file.userPassword || file.ownerPassword || file.encryption == "none") {
        EXPECT_TRUE(unlocked) << "the documented password did not unlock " << file.encryption;
    }
    LinkCounts counts = readEveryPage(document);
    if (unlocked && hasExactCounts(file)) {
        EXPECT_EQ(document.pageCount(), std::stol(file.pages));
        if (isNumber(file.linkUriCount)) {
            EXPECT_EQ(counts.uri, std::stol(file.linkUriCount));
        }
        if (isNumber(file.linkNamedCount)) {
            EXPECT_EQ(counts.named, std::stol(file.linkNamedCount));
        }
    }
}

TEST_P(Corpus, OpeningAndWidthEstimateFollowThePasswordRules) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const CorpusFile& file = GetParam();
    auto document = pdf::CGPDFDocumentCreateX(path(file), file.userPassword);
    bool intact = hasExactCounts(file) && (file.encryption == "none" || file.userPassword);
    if (intact && file.userPassword.value_or("").size() < 126) {
        EXPECT_TRUE(document.has_value());
    }
    std::int64_t width = pdf::detectWidePageForFile(path(file), file.userPassword);
    EXPECT_GE(width, 0);
    if (!document) {
        EXPECT_EQ(width, 0);
    }
}

// The text-to-link job's write: a link added to the first page and the file saved over itself.
TEST_P(Corpus, SavedLinkReadsBackAndEncryptionStays) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const CorpusFile& file = GetParam();
    testsupport::TempDir dir;
    std::filesystem::path copy = dir / "copy.pdf";
    std::filesystem::copy_file(path(file), copy);
    auto opened = platform::Document::open(copy.string());
    if (!opened.ok()) return;
    std::optional<std::string> password = unlockingPassword(*opened, file);
    if (!password || opened->pageCount() == 0) return;
    bool encrypted = opened->isEncrypted();
    std::size_t before = opened->annotations(0).size();
    ASSERT_TRUE(
        testsupport::addLink(*opened, 0, {10, 20, 30, 40}, std::string("https://saved.example/"))
            .ok());
    ASSERT_TRUE(opened->save(copy.string()).ok());
    opened = platform::Document::open(copy.string());
    ASSERT_TRUE(opened.ok());
    EXPECT_EQ(opened->isEncrypted(), encrypted);
    ASSERT_TRUE(opened->unlock(*password));
    auto annotations = opened->annotations(0);
    ASSERT_EQ(annotations.size(), before + 1);
    EXPECT_EQ(annotations.back().url, "https://saved.example/");
    EXPECT_EQ(annotations.back().bounds, (platform::Rect{10, 20, 30, 40}));
}

INSTANTIATE_TEST_SUITE_P(Files, Corpus, ::testing::ValuesIn(testsupport::corpusCases()),
                         testsupport::corpusTestName);

}  // namespace
