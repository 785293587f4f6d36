#include "platform/ICURegex.h"

#include <gtest/gtest.h>

using platform::Regex;

TEST(ICURegex, MatchesOnlyTheWholeText) {
    auto regex = Regex::compile(u"\\d{3}");
    ASSERT_TRUE(regex.ok());
    EXPECT_TRUE(regex->matchesWhole(u"123"));
    EXPECT_FALSE(regex->matchesWhole(u"1234"));
    EXPECT_FALSE(regex->matchesWhole(u"a123"));
    EXPECT_FALSE(regex->matchesWhole(u""));
}

TEST(ICURegex, CommaDashUnderscoreIsARange) {
    auto regex = Regex::compile(u"a[ ,-_]b");
    ASSERT_TRUE(regex.ok());
    for (std::u16string_view text : {u"a b", u"a,b", u"a-b", u"a_b", u"a5b", u"aQb", u"a/b"}) {
        EXPECT_TRUE(regex->matchesWhole(text)) << std::string(text.begin(), text.end());
    }
    EXPECT_FALSE(regex->matchesWhole(u"aab"));  // "a" (0x61) lies past "_" (0x5F)
}

TEST(ICURegex, BadPatternIsAnArgumentError) {
    auto regex = Regex::compile(u"(unclosed");
    ASSERT_FALSE(regex.ok());
    EXPECT_EQ(regex.error().code, platform::Error::Code::Argument);
    EXPECT_EQ(regex.error().message, "U_REGEX_MISMATCHED_PAREN");
}

TEST(ICURegex, MovedRegexStillMatches) {
    auto regex = Regex::compile(u"x+");
    ASSERT_TRUE(regex.ok());
    Regex moved = std::move(regex).value();
    EXPECT_TRUE(moved.matchesWhole(u"xxx"));
}
