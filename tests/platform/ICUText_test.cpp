#include "platform/ICUText.h"

#include <gtest/gtest.h>

using platform::toUTF16;
using platform::toUTF8;
using platform::utf16Length;

TEST(ICUText, ConvertsBothWaysWithSurrogatePairs) {
    const std::string utf8 = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80";  // a é 中 😀
    const std::u16string utf16 = u"a\u00E9\u4E2D\U0001F600";
    EXPECT_EQ(toUTF16(utf8), utf16);
    EXPECT_EQ(toUTF8(utf16), utf8);
    EXPECT_EQ(toUTF16(utf8).size(), 5u);
}

TEST(ICUText, EmptyTextStaysEmpty) {
    EXPECT_EQ(toUTF16(""), u"");
    EXPECT_EQ(toUTF8(u""), "");
}

TEST(ICUText, MalformedInputBecomesReplacementCharacters) {
    EXPECT_EQ(toUTF16("a\xFF"
                      "b"),
              u"a\uFFFDb");
    EXPECT_EQ(toUTF8(std::u16string(u"x") + char16_t(0xD800) + u"y"), "x\xEF\xBF\xBDy");
}

TEST(ICUText, CountsUnitsOfUTF8Text) {
    EXPECT_EQ(utf16Length(""), 0u);
    EXPECT_EQ(utf16Length("abc"), 3u);
    EXPECT_EQ(utf16Length("\xC3\xA9\xE4\xB8\xAD"), 2u);
    EXPECT_EQ(utf16Length("\xF0\x9F\x98\x80"), 2u);
}
