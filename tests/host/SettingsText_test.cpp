#include "host/SettingsText.h"

#include <gtest/gtest.h>

namespace host {
namespace {

TEST(SettingsText, JoinsItemsInTheOrderSet) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("input", "book.pdf"));
    ASSERT_TRUE(settings.set("output", "out"));
    ASSERT_TRUE(settings.set("range", "1-3"));
    ASSERT_TRUE(settings.set("divide", "1"));
    EXPECT_EQ(settings.text(), "input=book.pdf|output=out|range=1-3|divide=1");
}

TEST(SettingsText, EscapesBarAndEqualsInPathValues) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("input", "/books/a|b=c.pdf"));
    ASSERT_TRUE(settings.set("O", "/out/x=|y"));
    ASSERT_TRUE(settings.set("i", "p|q"));
    EXPECT_EQ(settings.text(), "input=/books/a:7C:b:3D:c.pdf|O=/out/x:3D::7C:y|i=p:7C:q");
    EXPECT_EQ(settings.value("input"), "p|q");
    EXPECT_EQ(settings.value("output"), "/out/x=|y");
}

TEST(SettingsText, RefusesWhatTheWorkerCouldNotReadBack) {
    SettingsText settings;
    for (const char* value : {"a|b", "a=b"}) {
        SCOPED_TRACE(value);
        auto refused = settings.set("password", value);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().code, platform::Error::Code::Argument);
        EXPECT_EQ(refused.error().message, "the value of \"password\" cannot hold \"|\" or \"=\"");
    }
    for (const char* key : {"", "a|b", "a=b"}) {
        SCOPED_TRACE(key);
        auto refused = settings.set(key, "1");
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().message,
                  "a setting's key must be neither empty nor hold \"|\" or \"=\"");
    }
    EXPECT_EQ(settings.text(), "");
}

TEST(SettingsText, SettingAKeyAgainKeepsItsPlace) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("range", "1"));
    ASSERT_TRUE(settings.set("divide", "1"));
    ASSERT_TRUE(settings.set("RANGE", "ALL"));
    EXPECT_EQ(settings.text(), "range=ALL|divide=1");
}

TEST(SettingsText, ValueFindsEitherSpellingAndTheLaterItemWins) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("id", "7"));
    ASSERT_TRUE(settings.set("r", "2-4"));
    ASSERT_TRUE(settings.set("range", "5"));
    EXPECT_EQ(settings.value("identifier"), "7");
    EXPECT_EQ(settings.value("ID"), "7");
    EXPECT_EQ(settings.value("r"), "5");
    EXPECT_EQ(settings.value("password"), std::nullopt);
    EXPECT_EQ(settings.value("aspect_ratio"), std::nullopt);
}

TEST(SettingsText, UnknownKeysTravelAsGiven) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("Colour", "blue"));
    EXPECT_EQ(settings.text(), "Colour=blue");
    EXPECT_EQ(settings.value("colour"), "blue");
}

TEST(SettingsText, MissingForNamesTheFirstRequiredSettingMissing) {
    SettingsText settings;
    EXPECT_EQ(settings.missingFor(JobKind::Convert), "input");
    EXPECT_EQ(settings.missingFor(JobKind::TextToLink), "input");
    ASSERT_TRUE(settings.set("i", "a.pdf"));
    EXPECT_EQ(settings.missingFor(JobKind::Convert), "output");
    EXPECT_EQ(settings.missingFor(JobKind::TextToLink), "range");
    ASSERT_TRUE(settings.set("o", "out"));
    EXPECT_EQ(settings.missingFor(JobKind::Convert), "range");
    ASSERT_TRUE(settings.set("r", "ALL"));
    EXPECT_EQ(settings.missingFor(JobKind::Convert), "divide");
    EXPECT_EQ(settings.missingFor(JobKind::TextToLink), std::nullopt);
    ASSERT_TRUE(settings.set("aspect_ratio", "0.75"));
    EXPECT_EQ(settings.missingFor(JobKind::Convert), std::nullopt);
}

TEST(SettingsText, DivideAloneCompletesAConversion) {
    SettingsText settings;
    ASSERT_TRUE(settings.set("input", "a.pdf"));
    ASSERT_TRUE(settings.set("output", "out"));
    ASSERT_TRUE(settings.set("range", "1"));
    ASSERT_TRUE(settings.set("d", "0"));
    EXPECT_EQ(settings.missingFor(JobKind::Convert), std::nullopt);
}

TEST(SettingsText, SwitchesOfTheTwoJobs) {
    EXPECT_STREQ(toSwitch(JobKind::Convert), "-b");
    EXPECT_STREQ(toSwitch(JobKind::TextToLink), "-a");
}

}  // namespace
}  // namespace host
