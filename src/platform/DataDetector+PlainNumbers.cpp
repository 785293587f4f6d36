// Telephone numbers whose verdict is known without running the matcher.
//
// The matcher costs about 200,000 instructions for each number it finds, most of them spent in
// its regular expressions. Most numbers in print are a plain run of ASCII digits, split at most
// once by a space or a hyphen, with nothing before them that the matcher's candidate pattern
// could take in (a "(", "[" or "+", alone or behind its punctuation). For such a group:
// - the matcher's candidate is the group itself: no digits join it (see mayJoin), so neither a
//   further block nor an extension can follow;
// - none of its refusals applies: dates need a "/", page ranges a "(", time stamps a last block
//   of two digits after a space, and unmatched brackets a bracket;
// - its parse, for numbers of the region (no "+"), keeps as the national number the digits, or
//   the digits without a leading national prefix "0", depending on the region's number
//   patterns; with leniency POSSIBLE the number is taken when the length of what it keeps is one
//   the region's numbers may have.
// So the group is a match when every length the parse could keep is possible. Numbers the
// region's other prefixes may begin are left to the matcher, as the parse may cut those
// differently: its international prefix ("00", or a five-digit carrier code and "00"), its
// carrier codes (five digits beginning "11", "12" or "179") and its country code "86". Whatever
// is not a match by this reasoning goes to the matcher too, so this path only ever saves work;
// the tests hold both paths to what the matcher finds in the whole text.
#include <phonenumbers/phonenumber.pb.h>
#include <phonenumbers/phonenumberutil.h>
#include <unicode/uchar.h>

#include <array>
#include <cstdint>

#include "platform/DataDetectorScan.h"

namespace platform::detail {

namespace {

namespace pn = i18n::phonenumbers;

constexpr std::size_t kMostDigits = 17;  // of a national number the library parses
constexpr std::size_t kFewestBlockDigits = 3;

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

// The digits of text[start, end) when it is ASCII digits split at most once by a space or a
// hyphen into blocks of three digits or more; empty otherwise.
std::string plainDigits(std::u16string_view group) {
    std::string digits;
    bool split = false;
    std::size_t block = 0;  // digits since the start or the split
    for (char16_t c : group) {
        if (isAsciiDigit(c)) {
            digits += static_cast<char>(c);
            ++block;
            continue;
        }
        if ((c != u' ' && c != u'-') || split || block < kFewestBlockDigits) return {};
        split = true;
        block = 0;
    }
    return block >= kFewestBlockDigits && digits.size() <= kMostDigits ? digits : std::string();
}

bool parseKeepsAPossibleLength(const std::string& digits) {
    const std::array<bool, kMostDigits + 1>& possible = possibleLengths();
    const std::size_t length = digits.size();
    if (digits.starts_with("00") || digits.starts_with("11") || digits.starts_with("12") ||
        digits.starts_with("179") || digits.starts_with("86")) {
        return false;
    }
    if (digits.front() == '0') return possible[length] && possible[length - 1];
    return possible[length];
}

}  // namespace

bool isPlainNumberMatch(std::u16string_view text, std::size_t start, std::size_t end) {
    const std::string digits = plainDigits(text.substr(start, end - start));
    return !digits.empty() && nothingLeadsInto(text, start) && parseKeepsAPossibleLength(digits);
}

}  // namespace platform::detail
