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
        // An unknown scheme is no scheme, and the name after it is glued to its "/".
        {u"gopher://x.org", ""},
        {u"http://-x.org https://[::1] http://x.org_", ""},
    });
}

TEST(DataDetector, WwwAndBareDomainsGetHttp) {
    expectAll({
        {u"see www.example.org, now", "link 4+15 http://www.example.org\n"},
        {u"www.intranet/x", "link 0+14 http://www.intranet/x\n"},
        {u"amazon.com/path?q=1!", "link 0+19 http://amazon.com/path?q=1\n"},
        {u"a.tv and b.cn:8080/x", "link 0+4 http://a.tv\nlink 9+11 http://b.cn:8080/x\n"},
        {u"end of sentence amazon.com.", "link 16+10 http://amazon.com\n"},
        {u"google.co.uk, example.com.cn",
         "link 0+12 http://google.co.uk\nlink 14+14 http://example.com.cn\n"},
        {u"sub.example.org/path www.example.org/help",
         "link 0+20 http://sub.example.org/path\nlink 21+20 http://www.example.org/help\n"},
        {u"version 1.2 or x.notatld", ""},
        {u"\u8BBF\u95EEwww.example.com\u4E86\u89E3", "link 2+15 http://www.example.com\n"},
    });
}

TEST(DataDetector, BareNamesThatProseMeansOtherwiseAreNoLinks) {
    expectAll({
        // Glued to a path, a misspelled scheme, an identifier or a longer name.
        {u"/path/to/file.pl path:to:file.pm hppt://shop.com http:/abc.com", ""},
        {u"///test.com _shop.com -shop.com .shop.com shop.com_", ""},
        // File and code names, a sentence end without a space, a time format.
        {u"setup.py README.md archive.zip so.And then left.It was hh.mm.ss", ""},
        // Names reserved for documentation, without a path; a port no address has.
        {u"example.com abc.example.org example.net.", ""},
        {u"shop.com:500000", ""},  // six digits are too few for a telephone number
        // A path or a third label makes them addresses again; "www." always does.
        {u"setup.py/x cdn.shop.zip www.archive.zip",
         "link 0+10 http://setup.py/x\nlink 11+12 http://cdn.shop.zip\n"
         "link 24+15 http://www.archive.zip\n"},
        {u"(see www.a.com/x_(y)).", "link 5+15 http://www.a.com/x_(y)\n"},
        {u"GOOGLE.COM. www.example.com",
         "link 0+10 http://GOOGLE.COM\nlink 12+15 http://www.example.com\n"},
        // Identifiers in capitals: a one-letter label, or an ending no capitals address has.
        {u"Q.ORG ATLANTA.Q.ORG X.ID FORM.FINAL Q.PARTS", ""},
        {u"BBC.CO.UK AMAZON.DE", "link 0+9 http://BBC.CO.UK\nlink 10+9 http://AMAZON.DE\n"},
        // Formulas put "@" between names; "mailto:" keeps any domain.
        {u"9@AJ.B 9@AJ.0A a@b.c mailto:a@b.c", "link 21+12 mailto:a@b.c\n"},
        {u"foo@bar.baz x@\u4F8B\u5B50.\u4E2D\u56FD", "link 0+11 mailto:foo@bar.baz\n"},
    });
}

TEST(DataDetector, NonASCIILettersBelongToTheAddress) {
    expectAll({
        {u"http://www.b\u00FCrger.de/x", "link 0+22 http://www.xn--brger-kva.de/x\n"},
        {u"Visit www.m\u00FCller.de today", "link 6+13 http://www.xn--mller-kva.de\n"},
        {u"https://de.wikipedia.org/wiki/K\u00F6ln.",
         "link 0+34 https://de.wikipedia.org/wiki/K%C3%B6ln\n"},
        {u"https://e.com/p?symbol=\u00A3", "link 0+24 https://e.com/p?symbol=%C2%A3\n"},
        {u"mail info@m\u00FCller.de", "link 5+14 mailto:info@xn--mller-kva.de\n"},
        // Non-transitional: the sharp s stays a letter of its own.
        {u"www.stra\u00DFe.de", "link 0+13 http://www.xn--strae-oqa.de\n"},
    });
}

TEST(DataDetector, NoLinkStartsInsideAWordOfAnyScript) {
    expectAll({
        {u"m\u00FCller@a.cn \u00FChttp://a.cn K\u00F6ln.Die", ""},
        {u"stra\u00DFe.de \u043F\u0440\u0438\u043C\u0435\u0440.\u0440\u0444",
         "link 0+9 http://xn--strae-oqa.de\nlink 10+9 http://xn--e1afmkfd.xn--p1ai\n"},
    });
}

TEST(DataDetector, ChineseTextAndFullWidthPunctuationEndALink) {
    expectAll({
        {u"\u8BBF\u95EEhttp://a.cn/x\uFF0C\u7136\u540E", "link 2+13 http://a.cn/x\n"},
        {u"\uFF08www.a.cn/\u00FC\uFF09\u3002", "link 1+10 http://www.a.cn/%C3%BC\n"},
        {u"\u300Cmail@a.cn\u300D", "link 1+9 mailto:mail@a.cn\n"},
    });
}

TEST(DataDetector, AddressesWrappedAtALineEndAreJoined) {
    expectAll({
        {u"See https://a.com/reports/2023/\nannual-report.pdf now",
         "link 4+45 https://a.com/reports/2023/annual-report.pdf\n"},
        {u"https://a.com/linehaul-cloud-\nfunction",
         "link 0+38 https://a.com/linehaul-cloud-function\n"},
        // The first word of an ordinary next sentence stays out.
        {u"See https://a.com/docs/\nfor details.", "link 4+19 https://a.com/docs/\n"},
        {u"Visit www.a.com.\nThen www.a.com\nindex.html",
         "link 6+9 http://www.a.com\nlink 22+9 http://www.a.com\n"},
        {u"http://a.cn/x-\n\u4E2D\u6587", "link 0+14 http://a.cn/x-\n"},
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
