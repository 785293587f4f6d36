#include "host/SettingsText.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

// Items set in order, then the settings text (nullptr: not looked at) and values looked up.
struct ItemsCase {
    const char* name;
    std::vector<std::pair<std::string, std::string>> items;
    const char* text;
    std::vector<std::pair<std::string, std::optional<std::string>>> values;
};

const ItemsCase kItemsCases[] = {
    {"JoinsItemsInTheOrderSet",
     {{"input", "book.pdf"}, {"output", "out"}, {"range", "1-3"}, {"divide", "1"}},
     "input=book.pdf|output=out|range=1-3|divide=1",
     {}},
    {"EscapesBarAndEqualsInPathValues",
     {{"input", "/books/a|b=c.pdf"}, {"O", "/out/x=|y"}, {"i", "p|q"}},
     "input=/books/a:7C:b:3D:c.pdf|O=/out/x:3D::7C:y|i=p:7C:q",
     {{"input", "p|q"}, {"output", "/out/x=|y"}}},
    {"SettingAKeyAgainKeepsItsPlace",
     {{"range", "1"}, {"divide", "1"}, {"RANGE", "ALL"}},
     "range=ALL|divide=1",
     {}},
    {"ValueFindsEitherSpellingAndTheLaterItemWins",
     {{"id", "7"}, {"r", "2-4"}, {"range", "5"}},
     nullptr,
     {{"identifier", "7"},
      {"ID", "7"},
      {"r", "5"},
      {"password", std::nullopt},
      {"aspect_ratio", std::nullopt}}},
    {"UnknownKeysTravelAsGiven", {{"Colour", "blue"}}, "Colour=blue", {{"colour", "blue"}}},
};

class SettingsItems : public testing::TestWithParam<ItemsCase> {};

TEST_P(SettingsItems, GiveTheTextAndValues) {
    const ItemsCase& c = GetParam();
    SettingsText settings;
    for (const auto& [key, value] : c.items) ASSERT_TRUE(settings.set(key, value));
    if (c.text != nullptr) EXPECT_EQ(settings.text(), c.text);
    for (const auto& [key, value] : c.values) EXPECT_EQ(settings.value(key), value) << key;
}

INSTANTIATE_TEST_SUITE_P(SettingsText, SettingsItems, testing::ValuesIn(kItemsCases),
                         [](const testing::TestParamInfo<ItemsCase>& info) {
                             return std::string(info.param.name);
                         });

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
