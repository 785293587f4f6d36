#include "platform/DataDetector.h"

#include <gtest/gtest.h>

#include <sstream>

#include "platform/ICUText.h"

using platform::findMatches;
using platform::TextMatch;
using platform::URLFinder;

namespace {

// One match per line: "link 6+28 http://..." or "phone 5+11 13812345678".
std::string describe(const std::vector<TextMatch>& matches) {
    std::ostringstream out;
    for (const TextMatch& m : matches) {
        if (m.kind == TextMatch::Kind::Link) {
            out << "link " << m.location << "+" << m.length << " " << m.url.value_or("(none)");
        } else {
            out << "phone " << m.location << "+" << m.length << " " << m.phoneNumber;
        }
        out << "\n";
    }
    return out.str();
}

std::string detect(std::u16string_view text,
                   unsigned types = platform::kDetectLinks | platform::kDetectPhoneNumbers) {
    return describe(findMatches(text, types));
}

struct Case {
    std::u16string text;
    std::string expected;
};

void expectAll(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(platform::toUTF8(c.text));
        EXPECT_EQ(detect(c.text), c.expected);
    }
}

}  // namespace

TEST(DataDetector, WebAddressesWithAScheme) {
    expectAll({
        {u"Visit http://www.example.org/a?b=1.", "link 6+28 http://www.example.org/a?b=1\n"},
        {u"https://localhost:8080/x", "link 0+24 https://localhost:8080/x\n"},
        {u"ftp://ftp.x.org, file:///tmp/a.pdf",
         "link 0+15 ftp://ftp.x.org\nlink 17+17 file:///tmp/a.pdf\n"},
        {u"HTTP://X.ORG", "link 0+12 HTTP://X.ORG\n"},
        {u"(see http://a.com/x)", "link 5+14 http://a.com/x\n"},
        {u"http://en.wikipedia.org/wiki/Foo_(bar)",
         "link 0+38 http://en.wikipedia.org/wiki/Foo_(bar)\n"},
        {u"http:// nothing", ""},
        {u"gopher://x.org", "link 9+5 http://x.org\n"},
    });
}

TEST(DataDetector, WwwAndBareDomainsGetHttp) {
    expectAll({
        {u"see www.example.org, now", "link 4+15 http://www.example.org\n"},
        {u"www.intranet/x", "link 0+14 http://www.intranet/x\n"},
        {u"example.com/path?q=1!", "link 0+20 http://example.com/path?q=1\n"},
        {u"a.tv and b.cn:8080/x", "link 0+4 http://a.tv\nlink 9+11 http://b.cn:8080/x\n"},
        {u"end of sentence example.com.", "link 16+11 http://example.com\n"},
        {u"version 1.2 or x.notatld", ""},
        {u"\u8BBF\u95EEwww.example.com\u4E86\u89E3", "link 2+15 http://www.example.com\n"},
    });
}

TEST(DataDetector, EmailAddressesBecomeMailto) {
    expectAll({
        {u"mail john.doe+x@example.cn.", "link 5+21 mailto:john.doe+x@example.cn\n"},
        {u"mailto:a@b.com", "link 0+14 mailto:a@b.com\n"},
        {u"user@localhost or @example.com", ""},
    });
}

TEST(DataDetector, UnparsableLinkTextIsEscaped) {
    expectAll({{u"http://x.com/a%zz", "link 0+17 http://x.com/a%25zz\n"}});
}

TEST(DataDetector, PhoneNumbers) {
    expectAll({
        {u"Call 13812345678 now", "phone 5+11 13812345678\n"},
        {u"Tel 010-12345678", "phone 4+12 010-12345678\n"},
        {u"London +44 20 7946 0958", "phone 7+16 +44 20 7946 0958\n"},
    });
}

TEST(DataDetector, RangesCountUTF16Units) {
    expectAll({
        {u"\U0001F600\u4E2D 13812345678 www.a.cn",
         "phone 4+11 13812345678\nlink 16+8 http://www.a.cn\n"},
    });
}

TEST(DataDetector, NumbersInsideLinksAreNoPhoneNumbers) {
    expectAll({
        {u"http://x.com/13812345678", "link 0+24 http://x.com/13812345678\n"},
        {u"13812345678@qq.com", "link 0+18 mailto:13812345678@qq.com\n"},
    });
}

TEST(DataDetector, OnlyTheKindsAskedFor) {
    std::u16string text = u"www.a.cn 13812345678";
    EXPECT_EQ(detect(text, platform::kDetectLinks), "link 0+8 http://www.a.cn\n");
    EXPECT_EQ(detect(text, platform::kDetectPhoneNumbers), "phone 9+11 13812345678\n");
    EXPECT_EQ(detect(text, 0), "");
    EXPECT_EQ(detect(u""), "");
}

TEST(URLFinder, FindsTheMatchAroundAnIndex) {
    const std::u16string text = u"go www.a.cn or 13812345678";
    const URLFinder finder = URLFinder::forText(text);
    EXPECT_EQ(finder.matchAtIndex(0), nullptr);
    EXPECT_EQ(finder.matchAtIndex(2), nullptr);
    for (std::size_t i : {3u, 7u, 10u}) {
        const TextMatch* match = finder.matchAtIndex(i);
        ASSERT_NE(match, nullptr);
        EXPECT_EQ(match->location, 3u);
        EXPECT_EQ(match->length, 8u);
    }
    EXPECT_EQ(finder.matchAtIndex(11), nullptr);
    const TextMatch* phone = finder.matchAtIndex(25);
    ASSERT_NE(phone, nullptr);
    EXPECT_EQ(phone->kind, TextMatch::Kind::PhoneNumber);
    EXPECT_EQ(phone->location, 15u);
    EXPECT_EQ(finder.matchAtIndex(26), nullptr);
    EXPECT_EQ(finder.matchAtIndex(1000), nullptr);
}

TEST(DataDetector, PhoneNumbersFarIntoALongText) {
    std::u16string text;
    for (int line = 0; line < 200; ++line) text += u"line \u4E2D\U0001F600 of text\n";
    const std::size_t offset = text.size();
    text += u"Call 13812345678\nor 010-12345678 today";
    EXPECT_EQ(detect(text), "phone " + std::to_string(offset + 5) + "+11 13812345678\nphone " +
                                std::to_string(offset + 20) + "+12 010-12345678\n");
}
