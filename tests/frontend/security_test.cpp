#include "frontend/security.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <numeric>
#include <set>

#include "support/TempDir.h"

namespace {

using frontend::codeAlphabets;
using frontend::codesCipherData;
using frontend::decodeArgumentCodes;
using frontend::encodeArgumentCodes;

std::vector<std::uint8_t> bytes(std::string_view text) { return {text.begin(), text.end()}; }

std::string hex(const std::vector<std::uint8_t>& data) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::uint8_t b : data) text += {kDigits[b >> 4], kDigits[b & 15]};
    return text;
}

// An independent writer of codes texts under a chosen key: the rows rotate per cipher byte.
std::string codesFor(std::string_view plain, const std::string& key) {
    std::string codes;
    std::vector<std::uint8_t> cipher = codesCipherData(bytes(plain), key);
    for (std::size_t k = 0; k < cipher.size(); ++k) {
        std::size_t row = 16 * (k % 3);
        codes += codeAlphabets[row + (cipher[k] >> 4)];
        codes += codeAlphabets[row + (cipher[k] & 15)];
    }
    return codes + key + "_";
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::filesystem::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

TEST(CodeAlphabets, HoldsEightyEightSymbolsTheFirstSixtyFourDistinct) {
    EXPECT_EQ(codeAlphabets.size(), 88u);
    std::set<char> first64(codeAlphabets.begin(), codeAlphabets.begin() + 64);
    EXPECT_EQ(first64.size(), 64u);
    EXPECT_EQ(codeAlphabets.find('_'), std::string_view::npos);
}

TEST(CodesCipherData, MatchesStandardRc4Vectors) {
    EXPECT_EQ(hex(codesCipherData(bytes("Plaintext"), "Key")), "BBF316E8D940AF0AD3");
    EXPECT_EQ(hex(codesCipherData(bytes("pedia"), "Wiki")), "1021BF0420");
    EXPECT_EQ(hex(codesCipherData(bytes("Attack at dawn"), "Secret")),
              "45A01F645FC35B383552544B9BF5");
}

TEST(CodesCipherData, AppliedTwiceGivesTheBytesBack) {
    std::vector<std::uint8_t> data = bytes(std::string("input=/a b/\xE4\xB8\xAD.pdf\0|x", 20));
    std::vector<std::uint8_t> once = codesCipherData(data, "0a1B2c3D");
    EXPECT_NE(once, data);
    EXPECT_EQ(codesCipherData(once, "0a1B2c3D"), data);
}

TEST(CodesCipherData, KeepsTheLengthAndTakesEmptyData) {
    EXPECT_EQ(codesCipherData(bytes(""), "key").size(), 0u);
    EXPECT_EQ(codesCipherData(bytes("abc"), "key").size(), 3u);
}

TEST(CodesCipherData, OutOfRangeModulusIsTakenAs256) {
    std::vector<std::uint8_t> data = bytes("some data");
    EXPECT_EQ(codesCipherData(data, "k", 0), codesCipherData(data, "k", 256));
    EXPECT_EQ(codesCipherData(data, "k", 300), codesCipherData(data, "k", 256));
}

TEST(CodesKeySchedule, UsesOnlyTheLowEightBitsOfTheKeyLength) {
    std::vector<std::uint8_t> longKey(257, 7);
    longKey[0] = 42;
    std::vector<std::uint8_t> shortKey{42};
    std::vector<std::uint8_t> a(256), b(256);
    frontend::codesKeySchedule(a, longKey);
    frontend::codesKeySchedule(b, shortKey);
    EXPECT_EQ(a, b);
}

TEST(CodesKeySchedule, EmptyKeyStillMixesAPermutationOfTheModulus) {
    std::vector<std::uint8_t> state(16, 0xFF);
    frontend::codesKeySchedule(state, {});
    std::vector<std::uint8_t> sorted = state;
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::uint8_t> identity(16);
    std::iota(identity.begin(), identity.end(), 0);
    EXPECT_EQ(sorted, identity);
    // With an all-zero key array, j runs through the triangular numbers mod 16.
    EXPECT_EQ(hex(state), "0006030E090201080F050D0C070B040A");
}

TEST(EncodeArgumentCodes, DecodingGivesTheTextBack) {
    const std::string texts[] = {
        "input=/Users/a/book.pdf|output=/Users/a/out|range=ALL|divide=1|id=42",
        "x",
        "\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80 caf\xC3\xA9",
        std::string(1000, 'q'),
        std::string("nul\0inside", 10),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        EXPECT_EQ(decodeArgumentCodes(encodeArgumentCodes(text)), text);
    }
}

TEST(EncodeArgumentCodes, WritesPairsThenAHexKeyThenUnderscore) {
    std::string codes = encodeArgumentCodes("abcd");
    ASSERT_EQ(codes.size(), 2 * 4 + 8 + 1u);
    EXPECT_EQ(codes.back(), '_');
    std::string key = codes.substr(8, 8);
    EXPECT_EQ(key.find_first_not_of("0123456789abcdefABCDEF"), std::string::npos) << key;
    EXPECT_EQ(codes, codesFor("abcd", key));
}

TEST(EncodeArgumentCodes, TwoEncodingsOfOneTextDiffer) {
    EXPECT_NE(encodeArgumentCodes("range=1-3"), encodeArgumentCodes("range=1-3"));
}

TEST(EncodeArgumentCodes, EmptyTextGivesTheKeyAndUnderscore) {
    std::string codes = encodeArgumentCodes("");
    EXPECT_EQ(codes.size(), 9u);
    EXPECT_EQ(decodeArgumentCodes(codes), "");
}

TEST(EncodeArgumentCodes, FourthPairUsesTheFirstRowAgain) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        std::string codes = encodeArgumentCodes("abcdef");
        for (std::size_t symbol = 0; symbol < 12; ++symbol) {
            std::size_t position = codeAlphabets.find(codes[symbol]);
            EXPECT_EQ(position / 16, (symbol / 2) % 3) << codes << " symbol " << symbol;
        }
    }
}

TEST(DecodeArgumentCodes, RowsRotatePerPairNotPerSymbol) {
    const std::string key = "09afAF12";
    EXPECT_EQ(decodeArgumentCodes(codesFor("abcdefgh", key)), "abcdefgh");
    // Writing the rows per symbol instead gives other bytes.
    std::string perSymbol;
    std::vector<std::uint8_t> cipher = codesCipherData(bytes("abcdefgh"), key);
    for (std::size_t k = 0; k < cipher.size(); ++k) {
        perSymbol += codeAlphabets[16 * ((2 * k) % 3) + (cipher[k] >> 4)];
        perSymbol += codeAlphabets[16 * ((2 * k + 1) % 3) + (cipher[k] & 15)];
    }
    EXPECT_NE(decodeArgumentCodes(perSymbol + key + "_"), "abcdefgh");
}

TEST(DecodeArgumentCodes, UnderscoreIsOptionalAndEndsTheText) {
    std::string codes = codesFor("range=ALL", "1234abCD");
    std::string bare = codes.substr(0, codes.size() - 1);
    EXPECT_EQ(decodeArgumentCodes(bare), "range=ALL");
    EXPECT_EQ(decodeArgumentCodes(codes + "anything after"), "range=ALL");
    EXPECT_EQ(decodeArgumentCodes(codes + "_" + codes), "range=ALL");
}

TEST(DecodeArgumentCodes, KeyAloneGivesEmptyText) {
    EXPECT_EQ(decodeArgumentCodes("12345678_"), "");
    EXPECT_EQ(decodeArgumentCodes("abcdefgh"), "");
}

TEST(DecodeArgumentCodes, FewerThanEightSymbolsAreUndecodable) {
    EXPECT_EQ(decodeArgumentCodes(""), std::nullopt);
    EXPECT_EQ(decodeArgumentCodes("_"), std::nullopt);
    EXPECT_EQ(decodeArgumentCodes("ohkV5_"), std::nullopt);
    EXPECT_EQ(decodeArgumentCodes("1234567_89abcdef"), std::nullopt);
}

TEST(DecodeArgumentCodes, OddLastSymbolIsIgnored) {
    std::string codes = codesFor("xy", "00000000");
    std::string withExtra = codes.substr(0, 4) + "o" + codes.substr(4);
    EXPECT_EQ(decodeArgumentCodes(withExtra), "xy");
}

TEST(DecodeArgumentCodes, UnknownSymbolsCountAsNibbleZero) {
    // Under this key the first keystream byte is 0x44, so the cipher byte 0x00 reads as "D".
    // "o" is nibble 0 of row 0, and a symbol outside the table reads the same.
    EXPECT_EQ(decodeArgumentCodes("oocafeBABE"), "D");
    EXPECT_EQ(decodeArgumentCodes("\x01|cafeBABE"), "D");
    EXPECT_EQ(decodeArgumentCodes("\xC3\xA9ocafeBABE"), "D");
}

TEST(DecodeArgumentCodes, SymbolOfAnotherRowShiftsByTheRow) {
    // Pair 1 is row 1, where "o" (position 0) reads as 0 - 16 = 0xF0, so the pair "oo" is the
    // cipher byte (0xF0 * 16 + 0xF0) mod 256 = 0xF0. The second keystream byte under this key
    // is 0xF3, which deciphers it to 0x03.
    std::vector<std::uint8_t> cipher = codesCipherData(bytes("A"), "12345678");
    std::string codes{codeAlphabets[cipher[0] >> 4], codeAlphabets[cipher[0] & 15]};
    EXPECT_EQ(decodeArgumentCodes(codes + "oo" + "12345678"), "A\x03");
}

TEST(DecodeArgumentCodes, RefusesDecipheredBytesThatAreNotUtf8) {
    const std::string key = "5e5E5e5E";
    const std::string invalid[] = {
        "\x80",              // stray continuation byte
        "\xC3",              // truncated
        "\xC0\xAF",          // overlong "/"
        "\xE0\x80\xAF",      // overlong "/"
        "\xED\xA0\x80",      // surrogate
        "\xF4\x90\x80\x80",  // past U+10FFFF
        "\xF8\x88\x80\x80\x80",
        "ok\xFF",
    };
    for (const std::string& text : invalid) {
        SCOPED_TRACE(hex(bytes(text)));
        EXPECT_EQ(decodeArgumentCodes(codesFor(text, key)), std::nullopt);
    }
    EXPECT_EQ(decodeArgumentCodes(codesFor("\xF4\x8F\xBF\xBF", key)), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(decodeArgumentCodes(codesFor("\xEF\xBF\xBD", key)), "\xEF\xBF\xBD");
}

TEST(DecodeArgumentCodes, RefusesCodesTextThatIsNotUtf8) {
    std::string codes = codesFor("a", "12345678");
    EXPECT_EQ(decodeArgumentCodes("\xFF" + codes), std::nullopt);
}

TEST(DecodeArgumentCodes, CountsNonAsciiSymbolsAsOneEach) {
    // Eight characters, twelve bytes: enough for a key, so the text decodes (to nothing).
    EXPECT_EQ(decodeArgumentCodes("\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"
                                  "abcd"),
              "");
}

TEST(CodesCipherFile, MissingSourceGivesFalse) {
    testsupport::TempDir dir;
    EXPECT_FALSE(frontend::codesCipherFile((dir / "none").string(), (dir / "out").string(), "k"));
    EXPECT_FALSE(std::filesystem::exists(dir / "out"));
}

TEST(CodesCipherFile, EnciphersLikeDataAndReplacesTheDestination) {
    testsupport::TempDir dir;
    const std::string content("file content\0\xFF with bytes", 25);
    writeFile(dir / "plain", content);
    writeFile(dir / "cipher", "an older and much longer destination file");
    ASSERT_TRUE(
        frontend::codesCipherFile((dir / "plain").string(), (dir / "cipher").string(), "0a1B2c3D"));
    std::vector<std::uint8_t> expected = codesCipherData(bytes(content), "0a1B2c3D");
    EXPECT_EQ(readFile(dir / "cipher"), std::string(expected.begin(), expected.end()));
    ASSERT_TRUE(
        frontend::codesCipherFile((dir / "cipher").string(), (dir / "back").string(), "0a1B2c3D"));
    EXPECT_EQ(readFile(dir / "back"), content);
}

TEST(CodesCipherFile, EmptySourceGivesEmptyDestination) {
    testsupport::TempDir dir;
    writeFile(dir / "empty", "");
    ASSERT_TRUE(frontend::codesCipherFile((dir / "empty").string(), (dir / "out").string(), "key"));
    EXPECT_TRUE(std::filesystem::exists(dir / "out"));
    EXPECT_EQ(readFile(dir / "out"), "");
}

}  // namespace
