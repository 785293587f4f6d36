// Telephone numbers whose verdict is known without running the matcher.
//
// The matcher costs about 200,000 instructions for each number it finds, and several times that
// for a row of numbers, most of them spent in its regular expressions. Most numbers in print are
// plain: runs of ASCII digits split by single spaces or hyphens, with nothing before them that
// the matcher's candidate pattern could take in (a "(", "[" or "+", alone or behind its
// punctuation). For such a group the matcher's steps are known:
// - its candidate is the group, or what is left of it after the last number it reported: no
//   digits join the group (see mayJoin), so neither a further block nor an extension can follow;
// - none of its refusals applies: dates need a "/", page ranges a "(", time stamps a ":" and
//   two digits after them (which would join the group), and unmatched brackets a bracket;
// - its parse, for numbers of the region (no "+"), keeps as the national number the digits, or
//   the digits without a leading national prefix "0", depending on the region's number
//   patterns; with leniency POSSIBLE the number is taken when the length of what it keeps is one
//   the region's numbers may have;
// - a candidate it does not take is searched for inner numbers, and in a plain group only its
//   breaks at spaces make any: the words of the candidate are tried in order, and the first one
//   taken is reported.
// So the verdict on a candidate or a word is known when every length the parse could keep
// gives the same answer. Numbers the region's other prefixes may begin are left to the matcher,
// as the parse may cut those differently: its international prefix ("00", or a five-digit
// carrier code and "00"), its carrier codes (five digits beginning "11", "12" or "179") and its
// country code "86". A group with any verdict not known this way goes to the matcher whole; the
// tests hold both paths to what the matcher finds in the whole text.
#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>
#include <unicode/uchar.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/DataDetectorScan.h"

namespace platform::detail {

namespace {

namespace pn = i18n::phonenumbers;

constexpr std::size_t kMostDigits = 17;  // of a national number the library parses

// Whether the region's numbers may have national numbers of each length, as the library's
// metadata says.
const std::array<bool, kMostDigits + 1>& possibleLengths() {
    static const std::array<bool, kMostDigits + 1> lengths = [] {
        std::array<bool, kMostDigits + 1> possible{};
        const pn::PhoneNumberUtil& util = *pn::PhoneNumberUtil::GetInstance();
        pn::PhoneNumber number;
        number.set_country_code(util.GetCountryCodeForRegion(kPhoneRegion));
        std::uint64_t national = 1;
        for (std::size_t length = 1; length <= kMostDigits; ++length, national *= 10) {
            number.set_national_number(national);
            possible[length] = util.IsPossibleNumber(number);
        }
        return possible;
    }();
    return lengths;
}

// What the matcher's candidate pattern may start with: "(", "[" and "+", also full width.
bool isLead(char16_t c) {
    return std::u16string_view(u"([\uFF08\uFF3B+\uFF0B").find(c) != std::u16string_view::npos;
}

// The punctuation the pattern takes between a lead and the first digit. "X" is added as the
// extension labels read it in any case.
bool isPunctuation(char16_t c) {
    static constexpr std::u16string_view kPunctuation =
        u"-x\u2010\u2011\u2012\u2013\u2014\u2015\u2212\u30FC\uFF0D\uFF0E\uFF0F \u00A0\u00AD"
        u"\u200B\u2060\u3000()\uFF08\uFF09\uFF3B\uFF3D.[]/~\u2053\u223CX";
    return kPunctuation.find(c) != std::u16string_view::npos;
}

// Far enough back for two leads, each with the four punctuation characters it may take.
constexpr std::size_t kLookBack = 10;

// No candidate of the matcher can start before the group at text[start]: going back over
// punctuation, the text begins or a character comes that is neither punctuation, a lead nor a
// digit. Surrogates are left to the matcher.
bool nothingLeadsInto(std::u16string_view text, std::size_t start) {
    for (std::size_t i = start; i > 0 && start - i < kLookBack; --i) {
        const char16_t c = text[i - 1];
        if (isLead(c) || u_isdigit(c) != 0 || (c >= 0xD800 && c < 0xE000)) return false;
        if (!isPunctuation(c)) return true;
    }
    return start < kLookBack;
}

// A run of digits of the group, and whether a space comes before it.
struct Block {
    std::size_t start = 0;
    std::size_t end = 0;
    bool afterSpace = false;
};

// The candidate pattern reads at most 21 runs of up to 20 digits each.
constexpr std::size_t kMostPatternBlocks = 21;
constexpr std::size_t kMostPatternBlockDigits = 20;

// The blocks of the group text[start, end) when it is ASCII digits split by single spaces or
// hyphens; empty otherwise.
std::vector<Block> plainBlocks(std::u16string_view text, std::size_t start, std::size_t end) {
    std::vector<Block> blocks;
    std::size_t patternBlocks = 0;
    bool afterSpace = false;
    for (std::size_t i = start;;) {
        const std::size_t blockStart = i;
        while (i < end && isAsciiDigit(text[i])) ++i;
        if (i == blockStart) return {};
        blocks.push_back({blockStart, i, afterSpace});
        patternBlocks += (i - blockStart + kMostPatternBlockDigits - 1) / kMostPatternBlockDigits;
        if (i == end) break;
        if (text[i] != u' ' && text[i] != u'-') return {};
        afterSpace = text[i++] == u' ';
    }
    return patternBlocks <= kMostPatternBlocks ? blocks : std::vector<Block>();
}

enum class Verdict { Refused, Taken, Unknown };

Verdict verdictOf(bool taken) { return taken ? Verdict::Taken : Verdict::Refused; }

// What the matcher's parse and check make of the digits of blocks [first, last).
Verdict parsedVerdict(std::u16string_view text, const std::vector<Block>& blocks,
                      std::size_t first, std::size_t last) {
    std::string digits;
    for (std::size_t k = first; k < last; ++k) {
        for (std::size_t i = blocks[k].start; i < blocks[k].end; ++i) {
            digits += static_cast<char>(text[i]);
        }
    }
    if (digits.starts_with("00") || digits.starts_with("11") || digits.starts_with("12") ||
        digits.starts_with("179") || digits.starts_with("86")) {
        return Verdict::Unknown;
    }
    // A single digit is no number at all; a national number over kMostDigits is too long.
    const std::array<bool, kMostDigits + 1>& possible = possibleLengths();
    auto possibleLength = [&possible](std::size_t length) {
        return length > 1 && length <= kMostDigits && possible[length];
    };
    const std::size_t length = digits.size();
    if (digits.front() != '0') return verdictOf(possibleLength(length));
    const bool kept = possibleLength(length), cut = possibleLength(length - 1);
    return kept == cut ? verdictOf(kept) : Verdict::Unknown;
}

// The words of blocks [first, blocks.size()): runs of blocks between spaces.
std::vector<std::pair<std::size_t, std::size_t>> wordsFrom(const std::vector<Block>& blocks,
                                                           std::size_t first) {
    std::vector<std::pair<std::size_t, std::size_t>> words;
    for (std::size_t k = first; k < blocks.size(); ++k) {
        if (k == first || blocks[k].afterSpace) words.emplace_back(k, k);
        words.back().second = k + 1;
    }
    return words;
}

// The first word the matcher takes from a candidate it refused whole: [first, last) of the
// blocks, {0, 0} when none is taken, nullopt when a verdict is not known.
std::optional<std::pair<std::size_t, std::size_t>> innerNumber(
    std::u16string_view text, const std::vector<Block>& blocks, std::size_t first) {
    const auto words = wordsFrom(blocks, first);
    if (words.size() < 2) return std::pair<std::size_t, std::size_t>{0, 0};
    for (const auto& [wordFirst, wordLast] : words) {
        const Verdict verdict = parsedVerdict(text, blocks, wordFirst, wordLast);
        if (verdict == Verdict::Unknown) return std::nullopt;
        if (verdict == Verdict::Taken) return std::pair{wordFirst, wordLast};
    }
    return std::pair<std::size_t, std::size_t>{0, 0};
}

}  // namespace

std::optional<std::vector<TextRange>> plainGroupNumbers(std::u16string_view text,
                                                        std::size_t start, std::size_t end) {
    const std::vector<Block> blocks = plainBlocks(text, start, end);
    if (blocks.empty() || !nothingLeadsInto(text, start)) return std::nullopt;
    std::vector<TextRange> numbers;
    // Each candidate runs from the block after the last number to the end of the group.
    for (std::size_t first = 0; first < blocks.size();) {
        const Verdict whole = parsedVerdict(text, blocks, first, blocks.size());
        if (whole == Verdict::Unknown) return std::nullopt;
        if (whole == Verdict::Taken) {
            numbers.push_back({blocks[first].start, end - blocks[first].start});
            break;
        }
        const auto inner = innerNumber(text, blocks, first);
        if (!inner) return std::nullopt;
        if (inner->first == inner->second) break;
        const std::size_t from = blocks[inner->first].start;
        numbers.push_back({from, blocks[inner->second - 1].end - from});
        first = inner->second;
    }
    return numbers;
}

}  // namespace platform::detail
