#include "frontend/Settings.h"

#include <gtest/gtest.h>

#include "frontend/splitText.h"

namespace {

using frontend::readConversionSettings;
using frontend::readTextLinkArguments;
using frontend::readTextLinkSettings;

TEST(SplitText, KeepsEmptyPieces) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(frontend::splitText("", '|'), Pieces{""});
    EXPECT_EQ(frontend::splitText("a", '|'), Pieces{"a"});
    EXPECT_EQ(frontend::splitText("|a||b|", '|'), (Pieces{"", "a", "", "b", ""}));
}

TEST(ConversionSettings, RequiredBitsAccumulate) {
    EXPECT_EQ(readConversionSettings("input=a").requiredItems, 1u);
    EXPECT_EQ(readConversionSettings("output=a|o=b").requiredItems, 2u);
    EXPECT_EQ(readConversionSettings("divide=2|ar=1").requiredItems, 4u);
    EXPECT_EQ(readConversionSettings("range=1").requiredItems, 8u);
    EXPECT_EQ(readConversionSettings("p=1|id=2|h5=1|r2l=1|t2l=1").requiredItems, 0u);
    EXPECT_TRUE(readConversionSettings("i=a|o=b|r=1|ar=2").isComplete());
    EXPECT_FALSE(readConversionSettings("i=a|o=b|r=1").isComplete());
}

TEST(ConversionSettings, WidthIsMeasuredOnlyForWideModeOne) {
    EXPECT_TRUE(readConversionSettings("divide=1").needsWidthDetection());
    EXPECT_TRUE(readConversionSettings("divide=0:x").needsWidthDetection());
    EXPECT_FALSE(readConversionSettings("divide=9:x").needsWidthDetection());
    EXPECT_FALSE(readConversionSettings("divide=2").needsWidthDetection());
    EXPECT_FALSE(readConversionSettings("divide=0").needsWidthDetection());
    EXPECT_FALSE(readConversionSettings("ar=1").needsWidthDetection());
}

TEST(TextLinkSettings, RangeDefaultsToAllButIsRequired) {
    std::optional<frontend::TextLinkSettings> settings = readTextLinkSettings("input=/a.pdf");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->pageRange, "ALL");
    EXPECT_FALSE(settings->isComplete());
    EXPECT_TRUE(readTextLinkSettings("input=/a.pdf|range=ALL")->isComplete());
}

TEST(TextLinkSettings, PasswordIsNotedButNotRequired) {
    EXPECT_EQ(readTextLinkSettings("password=x")->requiredItems, 4u);
    EXPECT_TRUE(readTextLinkSettings("i=a|r=1")->isComplete());
}

TEST(TextLinkSettings, TypeZeroEndsReading) {
    EXPECT_EQ(readTextLinkSettings("type=0"), std::nullopt);
    EXPECT_EQ(readTextLinkSettings("i=a|r=1|T=none|type=2"), std::nullopt);
    EXPECT_EQ(readTextLinkSettings("type=2|type=0"), std::nullopt);
    EXPECT_EQ(readTextLinkSettings("type=3")->parseType, 3);
}

TEST(TextLinkArguments, TakesWhatIsGivenInOrder) {
    const std::vector<std::string> two = {"a.pdf", "1-3"};
    frontend::TextLinkSettings settings = readTextLinkArguments(two);
    EXPECT_EQ(settings.pdfFile, "a.pdf");
    EXPECT_EQ(settings.pageRange, "1-3");
    EXPECT_EQ(settings.password, std::nullopt);
    EXPECT_EQ(settings.parseType, 3);
    EXPECT_EQ(settings.taskID, std::nullopt);
    EXPECT_TRUE(settings.isComplete());

    const std::vector<std::string> five = {"b.pdf", "2", "pw", "x", "id"};
    settings = readTextLinkArguments(five);
    EXPECT_EQ(settings.password, "pw");
    EXPECT_EQ(settings.parseType, 0);
    EXPECT_EQ(settings.taskID, "id");
}

}  // namespace
