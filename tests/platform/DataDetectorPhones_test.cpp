// The telephone-number scan shows the matcher only the text around groups of seven digits or
// more, piece by piece on long lines. These tests hold it to what the matcher finds when it is
// run over the whole text at once (numbers under seven digits left out), on generated text
// made to sit at the edges of those stretches, and on the peers' published cases.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <random>
#include <sstream>

#include "platform/DataDetectorScan.h"
#include "platform/ICUText.h"
#include "platform/MuPDFDocument.h"
#include "support/CorpusManifest.h"
#include "text2link/PeerCases.h"

namespace {

using platform::TextMatch;

std::vector<TextMatch> screened(std::u16string_view text) {
    std::vector<TextMatch> out;
    platform::detail::appendPhoneMatches(text, platform::NeverStop(), out);
    return out;
}

std::vector<TextMatch> wholeText(std::u16string_view text) {
    std::vector<TextMatch> all, kept;
    platform::detail::appendAllMatcherMatches(text, all);
    for (TextMatch& m : all) {
        if (platform::detail::digitCount(text.substr(m.location, m.length)) >= 7) {
            kept.push_back(std::move(m));
        }
    }
    return kept;
}

std::string describe(const std::vector<TextMatch>& matches) {
    std::ostringstream out;
    for (const TextMatch& m : matches) {
        out << m.location << "+" << m.length << " " << m.phoneNumber << "\n";
    }
    return out.str();
}

void expectSameAsWholeText(std::u16string_view text) {
    const std::vector<TextMatch> expected = wholeText(text);
    const std::vector<TextMatch> found = screened(text);
    EXPECT_EQ(describe(found), describe(expected)) << platform::toUTF8(text);
}

void appendCodePoint(std::u16string& text, char32_t c) {
    if (c < 0x10000) {
        text += static_cast<char16_t>(c);
        return;
    }
    text += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
}

// Digits of one script, mostly ASCII, also Arabic-Indic, Devanagari, full width and
// mathematical bold (outside the 16-bit range).
std::u16string digitsOf(std::mt19937& random, int count) {
    static const std::array<char32_t, 5> zeros = {U'0', U'\u0660', U'\u0966', U'\uFF10',
                                                  U'\U0001D7CE'};
    const char32_t zero = random() % 4 == 0 ? zeros[random() % zeros.size()] : U'0';
    std::u16string digits;
    for (int i = 0; i < count; ++i) {
        // Mostly numbers of the region's shape, starting "1".
        const char32_t digit = i == 0 && random() % 2 == 0 ? 1 : random() % 10;
        appendCodePoint(digits, zero + digit);
    }
    return digits;
}

// Text between digit groups: punctuation numbers are written with, extension labels, words,
// brackets, dates, times, full-width and CJK text, line breaks.
const std::vector<std::u16string>& glue() {
    static const std::vector<std::u16string> pieces = {
        u" ",
        u"-",
        u"  ",
        u" - ",
        u".",
        u"/",
        u"(",
        u")",
        u"[",
        u"]",
        u"+",
        u"\uFF0B",
        u"\uFF08",
        u"\uFF09",
        u"\u3000",
        u"\u00A0",
        u"\t",
        u",",
        u", ",
        u"\n",
        u" ext ",
        u" ext. ",
        u" x",
        u"x",
        u" #",
        u"#",
        u" ~",
        u" anexo ",
        u" \u0434\u043E\u0431 ",
        u" int ",
        u";ext=",
        u" EXTENSI\u00D3N: ",
        u" Ext:",
        u"\uFF45\uFF58\uFF54",
        u"*",
        u":",
        u":3",
        u"abc",
        u"Tel ",
        u"tel:",
        u"call ",
        u"\u4E2D\u6587",
        u"\U0001F600",
        u" or ",
        u" to ",
        u"a",
        u"e",
        u"-- ",
        u"...",
        u"~",
        u"\u2010",
        u"\uFF0D",
        u"\u2212",
        u"@",
        u"www.",
        u".com ",
        u" 2012-01-02 08:00",
        u"/2011",
        u" (12) ",
        u"-12",
        u" ,,,, ,,,, ext ",
        u"                 ",
        u"x /x",
        u"_",
    };
    return pieces;
}

// Digit groups and glue by turns, so that no run of digits is longer than the scan takes for
// part of a number.
std::u16string generatedText(std::mt19937& random, int tokens) {
    std::u16string text;
    const int first = static_cast<int>(random() % 2);
    for (int t = first; t < first + tokens; ++t) {
        if (t % 2 == 0) {
            static const std::array<int, 9> lengths = {1, 2, 3, 4, 5, 7, 8, 11, 25};
            text += digitsOf(random, lengths[random() % lengths.size()]);
        } else {
            text += glue()[random() % glue().size()];
        }
    }
    return text;
}

TEST(DataDetectorPhones, ScreenedScanFindsWhatTheWholeTextGives) {
    std::mt19937 random(16);
    for (int i = 0; i < 600; ++i) {
        const std::u16string text = generatedText(random, 1 + static_cast<int>(random() % 40));
        expectSameAsWholeText(text);
        if (HasFailure()) return;
    }
}

TEST(DataDetectorPhones, LongLinesCutIntoPiecesFindWhatTheWholeTextGives) {
    std::mt19937 random(17);
    for (int i = 0; i < 2; ++i) {
        std::u16string text = generatedText(random, 1500 + static_cast<int>(random() % 500));
        std::replace(text.begin(), text.end(), u'\n', u' ');
        expectSameAsWholeText(text);
        if (HasFailure()) return;
    }
    // Numbers written one after another on one line of 10,000 units.
    std::u16string numbers;
    for (int i = 0; numbers.size() < 10000; ++i) {
        numbers += i % 3 == 0   ? u"13812345678 "
                   : i % 3 == 1 ? u"(010) 1234-5678, "
                                : u"+44 20 7946 0958; ";
    }
    expectSameAsWholeText(numbers);
}

TEST(DataDetectorPhones, EdgesOfTheStretches) {
    for (const char16_t* text : {
             u"13812345678",
             u"*13812345678",
             u"(13812345678)",
             u"+86 138 1234 5678 ext 12#",
             u"1381234567 8",
             u"138 1234 5678:30",
             u"2012-01-02 08:00:30 13812345678",
             u"+(+ (13812345678",
             u"abc13812345678def",
             u"12 3456 7890 , , , , , x 5#",
             u"13812345678                          ext 123",
             u"3/10/2011 13812345678",
             u"211-227 (2003) 13812345678",
             u"\xD800"
             u"13812345678 \xDC00"
             u"010-12345678\xD83D",
             u"\U0001D7CF\U0001D7D1\U0001D7D6 1234 5678",
         }) {
        expectSameAsWholeText(text);
    }
}

TEST(DataDetectorPhones, PeersPublishedCases) {
    for (const std::string& name : peercases::suiteNames()) {
        for (const peercases::Case& c : peercases::readSuite(name).cases) {
            SCOPED_TRACE(c.id);
            expectSameAsWholeText(platform::toUTF16(c.text));
        }
    }
}

// More than 64 digits in a row are no number nor part of one; the matcher never sees them.
TEST(DataDetectorPhones, LongRunsOfDigitsAreLeftOut) {
    const std::u16string run(100000, u'7');
    const std::u16string text = u"Call 13812345678 " + run + u" or 010-12345678.";
    EXPECT_EQ(describe(screened(text)),
              "5+11 13812345678\n" + std::to_string(21 + run.size()) + "+12 010-12345678\n");
    EXPECT_EQ(describe(screened(u"13812345678" + std::u16string(54, u'0'))), "");
}

TEST(DataDetectorPhones, ShortNumbersAreNotReported) {
    EXPECT_EQ(describe(screened(u"Room 123456, call 12345")), "");
    EXPECT_EQ(describe(screened(u"call 1234567")), "5+7 1234567\n");
}

// Plain numbers are decided without the matcher: every leading three digits, the lengths the
// region's numbers have and a few beside them, split or not, in the places print puts them,
// quiet or not for the matcher's pattern.
TEST(DataDetectorPhones, PlainNumbersDecidedWithoutTheMatcherAgreeWithIt) {
    static const std::array<const char16_t*, 12> before = {
        u"",  u" ",  u"Tel ", u"\u7535\u8BDD", u"call: ", u"(",
        u"+", u"x ", u"\n",   u"No. ",         u"\uFF08", u" - "};
    static const std::array<const char16_t*, 8> after = {u" ", u".",      u", ", u"\u3002",
                                                         u")", u" ext 1", u"\n", u"/2"};
    std::mt19937 random(18);
    std::u16string text;
    for (int prefix = 0; prefix < 1000; ++prefix) {
        static const std::array<int, 6> lengths = {7, 8, 10, 11, 12, 13};
        const int length = lengths[random() % lengths.size()];
        std::u16string number;
        for (int i = 0; i < length; ++i) {
            const int digit = i == 0   ? prefix / 100
                              : i == 1 ? prefix / 10 % 10
                              : i == 2 ? prefix % 10
                                       : static_cast<int>(random() % 10);
            number += static_cast<char16_t>(u'0' + digit);
        }
        if (random() % 2 == 0) {
            const std::size_t at = 3 + random() % (number.size() - 5);
            number.insert(at, 1, random() % 2 == 0 ? u' ' : u'-');
        }
        text += before[random() % before.size()] + number + after[random() % after.size()];
        if (prefix % 25 == 24) {
            expectSameAsWholeText(text);
            if (HasFailure()) return;
            text.clear();
        }
    }
}

// The region's prefixes that change how the parse cuts a number, at every length, alone and split.
TEST(DataDetectorPhones, PlainNumbersWithTheRegionsPrefixesAgreeWithTheMatcher) {
    static const std::array<const char16_t*, 12> prefixes = {
        u"00", u"01", u"11", u"12", u"179", u"17", u"86", u"87", u"400", u"800", u"0086", u"1[2"};
    static const std::array<const char16_t*, 3> before = {u"", u"Tel ", u"\u7535\u8BDD"};
    std::mt19937 random(19);
    for (const char16_t* prefix : prefixes) {
        std::u16string text;
        for (std::size_t length = 7; length <= 16; ++length) {
            for (bool split : {false, true}) {
                std::u16string number = prefix;
                while (number.size() < length)
                    number += static_cast<char16_t>(u'0' + random() % 10);
                if (split) number.insert(4, 1, u' ');
                text += before[random() % before.size()] + number + u" ";
            }
        }
        expectSameAsWholeText(text);
    }
}

// Rows of plain numbers and numbers beside other digits, as tables, lists and addresses written
// in one line hold them: words of one to thirteen digits, split or not, side by side.
TEST(DataDetectorPhones, RowsOfPlainNumbersAgreeWithTheMatcher) {
    static const std::array<const char16_t*, 8> leads = {u"1", u"13", u"138", u"400", u"0",
                                                         u"010", u"2", u"9"};
    static const std::array<const char16_t*, 6> before = {u"", u"Tel ", u"p", u"id=",
                                                          u"\u7535\u8BDD", u"No. "};
    std::mt19937 random(20);
    std::u16string text;
    for (int row = 0; row < 1200; ++row) {
        std::u16string group;
        // Now and then a row longer than the matcher's pattern reads at once.
        const int words = row % 50 == 0 ? 20 + static_cast<int>(random() % 5)
                                        : 2 + static_cast<int>(random() % 3);
        for (int w = 0; w < words; ++w) {
            if (w > 0) group += u' ';
            std::u16string word = random() % 3 == 0 ? leads[random() % leads.size()] : u"";
            const std::size_t length = 1 + random() % 13;
            while (word.size() < length) word += static_cast<char16_t>(u'0' + random() % 10);
            if (word.size() > 6 && random() % 3 == 0) word.insert(3, 1, u'-');
            group += word;
        }
        text += before[random() % before.size()] + group + u" ";
        if (row % 5 == 4) {
            expectSameAsWholeText(text);
            if (HasFailure()) return;
            text.clear();
        }
    }
}

std::string decided(std::u16string_view text, std::size_t start, std::size_t end) {
    const auto numbers = platform::detail::plainGroupNumbers(text, start, end);
    if (!numbers) return "matcher";
    std::string out;
    for (const platform::TextRange& n : *numbers) {
        out += std::to_string(n.location) + "+" + std::to_string(n.length) + " ";
    }
    return out;
}

TEST(DataDetectorPhones, CommonNumbersInProseAreDecidedWithoutTheMatcher) {
    EXPECT_EQ(decided(u"call 13812345678 now", 5, 16), "5+11 ");
    EXPECT_EQ(decided(u"\u7535\u8BDD010-12345678\u3002", 2, 14), "2+12 ");
    EXPECT_EQ(decided(u"Hotline: 400 1234567", 9, 20), "9+11 ");
    // Two numbers side by side: each is found in turn.
    EXPECT_EQ(decided(u"13801243783 010-34904389", 0, 24), "0+11 12+12 ");
    // Too long as a whole, and "400" alone is too short: the matcher takes the second word,
    // then what follows it.
    EXPECT_EQ(decided(u"400 4491345 400 6866458", 0, 23), "4+7 12+11 ");
    EXPECT_EQ(decided(u"p93 400 3078587", 1, 15), "1+14 ");
    // Left to the matcher: a "+" that may lead the number, a carrier code, the country code,
    // two separators in a row.
    EXPECT_EQ(decided(u"+ 13812345678", 2, 13), "matcher");
    EXPECT_EQ(decided(u"call 12345678901", 5, 16), "matcher");
    EXPECT_EQ(decided(u"call 8613812345678", 5, 18), "matcher");
    EXPECT_EQ(decided(u"400  1234567", 0, 12), "matcher");
    // More blocks than the matcher's pattern reads at once.
    std::u16string row = u"138";
    for (int k = 0; k < 21; ++k) row += u" 456";
    EXPECT_EQ(decided(row, 0, row.size()), "matcher");
    row.resize(row.size() - 4);
    EXPECT_EQ(decided(row, 0, row.size()), "");
    // The matcher reads the first 21 blocks, finds nothing in them, and then reads the last two
    // as one number.
    std::u16string shortWords;
    for (int k = 0; k < 21; ++k) shortWords += u"5 ";
    expectSameAsWholeText(shortWords + u"138 12345678");
}

// Real text is the judge: the page texts of the shared corpus of real PDFs, scanned both ways.
class DataDetectorPhonesCorpus : public ::testing::TestWithParam<testsupport::CorpusFile> {};

// Enough pages of each file to meet its kinds of text, few enough for the whole-text matcher.
constexpr int kCorpusPagesPerFile = 30;

TEST_P(DataDetectorPhonesCorpus, PageTextsAgreeWithTheMatcher) {
    PDFA_SKIP_WITHOUT_CORPUS();
    const testsupport::CorpusFile& file = GetParam();
    auto document = platform::Document::open(file.path().string());
    if (!document) return;  // damaged beyond opening: nothing to scan
    if (!document->unlock("") && !(file.userPassword && document->unlock(*file.userPassword))) {
        return;
    }
    const int pages = std::min(document->pageCount(), kCorpusPagesPerFile);
    for (int page = 0; page < pages; ++page) {
        auto text = document->pageText(page);
        if (!text) continue;
        SCOPED_TRACE("page " + std::to_string(page + 1));
        expectSameAsWholeText(text->text);
        if (HasFailure()) return;
    }
}

INSTANTIATE_TEST_SUITE_P(Files, DataDetectorPhonesCorpus,
                         ::testing::ValuesIn(testsupport::corpusCases()),
                         testsupport::corpusTestName);

}  // namespace

namespace {

// Set once it has been asked a given number of times.
class StopAfter final : public platform::StopFlag {
public:
    explicit StopAfter(int answers) : left_(answers) {}
    bool isSet() const override { return left_-- <= 0; }

private:
    mutable int left_;
};

std::u16string repeated(std::u16string_view piece, std::size_t times) {
    std::u16string text;
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

// A line of 200,000 numbers would take the matcher over half an hour; a stop ends the scan
// after what it found so far, which is the start of the full list.
TEST(DataDetectorStop, AStopEndsTheScanOfOneLongLine) {
    const std::u16string text = repeated(u"13812345678 ", 200000);
    const std::vector<TextMatch> found =
        platform::findMatches(text, platform::kDetectPhoneNumbers, StopAfter(20));
    ASSERT_FALSE(found.empty());
    EXPECT_LT(found.size(), 20u);
    for (std::size_t k = 0; k < found.size(); ++k) {
        EXPECT_EQ(found[k].location, 12 * k);
        EXPECT_EQ(found[k].phoneNumber, "13812345678");
    }
}

TEST(DataDetectorStop, AStopEndsTheLinkScan) {
    const std::u16string text = repeated(u"www.a.cn ", 100000);
    const std::vector<TextMatch> found =
        platform::findMatches(text, platform::kDetectLinks, StopAfter(3));
    ASSERT_FALSE(found.empty());
    EXPECT_LT(found.size(), 10000u);
    for (std::size_t k = 0; k < found.size(); ++k) EXPECT_EQ(found[k].location, 9 * k);
    EXPECT_TRUE(platform::findMatches(text, platform::kDetectLinks | platform::kDetectPhoneNumbers,
                                      StopAfter(0))
                    .empty());
}

// 200,000 addresses on one line of a megabyte, and four million digits: each found whole,
// in time that grows with the text.
TEST(DataDetectorStop, HugeLinesAreScannedWhole) {
    const std::u16string addresses = repeated(u"a@b.cn ", 200000);
    const std::vector<TextMatch> links =
        platform::findMatches(addresses, platform::kDetectLinks | platform::kDetectPhoneNumbers);
    ASSERT_EQ(links.size(), 200000u);
    EXPECT_EQ(links.back().location, 7u * 199999);
    EXPECT_EQ(links.back().url, "mailto:a@b.cn");
    const std::u16string digits = repeated(u"1234567890", 400000);
    EXPECT_TRUE(
        platform::findMatches(digits, platform::kDetectLinks | platform::kDetectPhoneNumbers)
            .empty());
}

}  // namespace
