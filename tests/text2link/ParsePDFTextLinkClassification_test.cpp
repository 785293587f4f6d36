#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "platform/ICUText.h"
#include "text2link/ParsePDFTextLink.h"

using text2link::ParsePDFTextLink;

namespace {

std::string utf8(std::u16string_view text) { return platform::toUTF8(text); }

}  // namespace

TEST(ParsePDFTextLinkInit, SixSchemeKeysInOrder) {
    ParsePDFTextLink job;
    EXPECT_EQ(job.schumeKeys, (std::vector<std::u16string>{u"ftp:", u"https:", u"http:", u"mailto:",
                                                           u"file:", u"tel:"}));
    EXPECT_EQ(job.parseType, 3);
    EXPECT_FALSE(job.password.has_value());
    EXPECT_FALSE(job.taskID.has_value());
}

TEST(ParsePDFTextLinkInit, DomainKeysInTheirWrittenOrder) {
    ParsePDFTextLink job;
    ASSERT_EQ(job.domainKeys.size(), 287u);
    EXPECT_EQ(job.domainKeys[0], u"biz");
    EXPECT_EQ(job.domainKeys[1], u"com");
    EXPECT_EQ(job.domainKeys[36], u"uucp");
    EXPECT_EQ(job.domainKeys[37], u"ac");
    EXPECT_EQ(job.domainKeys[286], u"zw");
    std::u16string joined;
    for (const auto& key : job.domainKeys) joined += key + u"|";
    EXPECT_NE(joined.find(u"|si|sj|sk|"), std::u16string::npos);
    EXPECT_EQ(joined.find(u"|go|"), std::u16string::npos);
}

// Texts of one answer each, asked of a job with its default keys.
struct TextCase {
    std::u16string text;
    bool expected;
};

TEST(ParsePDFTextLinkHasSchume, AnywhereButCaseSensitive) {
    const TextCase cases[] = {
        {u"see http://x", true},
        {u"tel:1", true},
        {u"HTTP://X.ORG", false},
        {u"", false},
    };
    ParsePDFTextLink job;
    for (const TextCase& c : cases) EXPECT_EQ(job.hasSchume(c.text), c.expected) << utf8(c.text);
    job.schumeKeys.clear();
    EXPECT_FALSE(job.hasSchume(u"http://x"));
}

TEST(ParsePDFTextLinkIsURLString, DefaultKeys) {
    const TextCase cases[] = {
        {u"HTTP://X.ORG", false},  // an upper-case scheme is no URL
        {u"awww.site", true},      // "www." after a letter falls through to the domains: "si"
        {u"version 1.2", false},
        {u"a.tv", true},
        {u"mail.google", false},
        {u"x.community", true},
        {u"file.index", true},
        {u"a.TV", false},
        {u"", false},
    };
    ParsePDFTextLink job;
    for (const TextCase& c : cases) {
        EXPECT_EQ(job.isURLString(c.text), c.expected) << utf8(c.text);
    }
}

TEST(ParsePDFTextLinkIsURLString, WwwAfterALetterFallsThroughToDomains) {
    ParsePDFTextLink job;
    job.domainKeys.erase(std::find(job.domainKeys.begin(), job.domainKeys.end(), u"si"));
    EXPECT_FALSE(job.isURLString(u"awww.site"));
    EXPECT_TRUE(job.isURLString(u"(www.site"));
    EXPECT_TRUE(job.isURLString(u"www.site"));
    EXPECT_TRUE(job.isURLString(u"\u4E2Dwww.site"));  // no ASCII letter before "www."
}

TEST(ParsePDFTextLinkIsURLString, NoDomainKeysNoDomainRule) {
    ParsePDFTextLink job;
    job.domainKeys.clear();
    EXPECT_FALSE(job.isURLString(u"a.tv"));
}

TEST(ParsePDFTextLinkIsPhoneNumber, ThreePatterns) {
    ParsePDFTextLink job;
    struct Case {
        std::u16string text;
        bool expected;
    };
    const Case cases[] = {
        {u"13812345678", true},        // pattern 1
        {u"+86 13812345678", true},    // pattern 1 with a country code
        {u"(86)-13812345678", true},   // brackets and a separator
        {u"010-12345678", true},       // pattern 2
        {u"1234567", true},            // pattern 2, seven digits
        {u"0755 1234567 1234", true},  // pattern 2 with an extension
        {u"800 12345", true},          // pattern 3
        {u"+40012345678", true},       // pattern 3 (also pattern 2)
        {u",00-12345", true},          // "[4,8]" admits the comma
        {u"12345", false},
        {u"", false},
        {u"13812345678 ", false},  // whole-string match only
        {u"call 13812345678", false},
        {u"\uFF11\uFF13\uFF18\uFF11\uFF12\uFF13\uFF14\uFF15\uFF16\uFF17\uFF18",
         true},  // \d is Unicode
    };
    for (const Case& c : cases) {
        EXPECT_EQ(job.isPhoneNumber(c.text), c.expected) << utf8(c.text);
    }
}

TEST(ParsePDFTextLinkIsPhoneNumber, SeparatorClassIsTheRangeCommaToUnderscore) {
    ParsePDFTextLink job;
    // "86" country code, then one separator, then the mobile number.
    for (std::u16string sep : {u" ", u",", u"-", u"_", u".", u"/", u"A", u"Z", u"@", u"5"}) {
        EXPECT_TRUE(job.isPhoneNumber(u"86" + sep + u"13812345678")) << utf8(sep);
    }
    for (std::u16string sep : {u"a", u"~", u"+", u"*"}) {
        EXPECT_FALSE(job.isPhoneNumber(u"86" + sep + u"13812345678")) << utf8(sep);
    }
}

TEST(ParsePDFTextLinkFixPhoneString, DigitsAfterTel) {
    const std::pair<std::u16string, std::optional<std::u16string>> cases[] = {
        {u"tel:", std::nullopt},
        {u"tel:+1 (555) 010", u"tel:1555010"},
        {u"call us", std::nullopt},
        {u"+86 (10) 1234-5678", u"tel:861012345678"},
        {u"12 tel:34 tel:56", u"tel:3456"},
        {u"tel:x", std::nullopt},
        {u"", std::nullopt},
        {u"\uFF11 2", u"tel:2"},  // only ASCII digits
    };
    ParsePDFTextLink job;
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(job.fixPhoneString(text), expected) << utf8(text);
    }
}

TEST(ParsePDFTextLinkFixURLString, Examples) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"", u""},
        {u" http://x", u"http://x"},
        {u"http://x y", u"http://x"},
        {u"Visit www.example.org, today", u"www.example.org,"},
        {u"Visit:www.example.org", u"Visit:www.example.org"},
        {u"(http://a.b/c?d=1)", u"http://a.b/c?d=1)"},
        {u"http://www.x.org", u"http://www.x.org"},
        // Later scheme keys override earlier ones: "http:" is tried after "ftp:", so its
        // position wins though it comes later in the text.
        {u"a ftp://f b http://h", u"http://h"},
        // "tel:" is the last key; at position 0 it changes nothing.
        {u"tel:1 http://h", u"http://h"},
        // The "www." position is applied to the cut text: cut at "http:" (2) to
        // "http://x www.y"; then "www." found at 11 of the whole text cuts that at 11.
        {u"a http://x www.y", u"w.y"},
        // The "www." position lies past the end of the text cut at "ftp:": nothing is left.
        {u"abcdefgh www.x ftp:", u""},
        // The run of URL characters.
        {u"a_b!z{c", u"a_b!z"},
        {u"abc#frag", u"abc"},
        {u"a%20b", u"a"},
        {u"x~y", u"x"},
        {u"x\u4E2Dy", u"x"},
        {u"[x]", u""},
        {u"`x", u""},
        {u"\\x^", u""},
    };
    ParsePDFTextLink job;
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(job.fixURLString(text), expected) << utf8(text);
    }
}
