#include "support/SampleBook.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

const std::filesystem::path kSamplePath = std::filesystem::path(PDFA_SOURCE_DIR) / "samples/book.pdf";

// The demo's book is generated, never edited by hand: UPDATE_SAMPLES=1 writes it anew.
TEST(SampleBook, CheckedInFileIsTheGeneratorsOutput) {
    std::string expected = testsupport::sampleBook().bytes();
    if (std::getenv("UPDATE_SAMPLES") != nullptr) testsupport::sampleBook().write(kSamplePath);
    std::ifstream in(kSamplePath, std::ios::binary);
    ASSERT_TRUE(in) << kSamplePath << " is missing; run with UPDATE_SAMPLES=1";
    std::stringstream actual;
    actual << in.rdbuf();
    EXPECT_EQ(actual.str(), expected) << "run with UPDATE_SAMPLES=1 to regenerate";
}

}  // namespace
