// Telephone numbers through libphonenumber, whose matcher works on UTF-8 and reports byte
// offsets; they are turned into 16-bit unit offsets while walking the matches in order.
//
// The matcher's cost is per candidate it examines, and it converts the rest of its text anew
// for every candidate, so a long text costs it time quadratic in its length. It is therefore
// shown only the stretches of text around groups of digits that one of its candidates could
// join, and only groups of seven digits or more: no shorter number is ever made a link. Such a
// stretch holds all the text the matcher looks at for those candidates (the characters before
// and after them included), so it finds there exactly what it finds in the whole text. A
// stretch longer than kPieceUnits is given to it piece by piece (see appendStretchMatches).
#include <phonenumbers/phonenumbermatch.h>
#include <phonenumbers/phonenumbermatcher.h>
#include <phonenumbers/phonenumberutil.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <climits>
#include <string>

#include "platform/DataDetectorScan.h"
#include "platform/ICUText.h"

namespace platform::detail {

namespace {

namespace pn = i18n::phonenumbers;

// Converts increasing byte offsets of one UTF-8 text into 16-bit unit offsets.
class OffsetMap {
public:
    explicit OffsetMap(const std::string& utf8) : text_(utf8) {}
    std::size_t unitsAt(std::size_t byteOffset) {
        if (byteOffset < byte_) return units_;  // matches come in order
        units_ += utf16Length(std::string_view(text_).substr(byte_, byteOffset - byte_));
        byte_ = byteOffset;
        return units_;
    }

private:
    const std::string& text_;
    std::size_t byte_ = 0;
    std::size_t units_ = 0;
};

// The matcher's candidates, written as its pattern reads them: up to two leading "(", "[" or
// "+" each followed by up to four punctuation characters, blocks of digits ("\p{Nd}")
// separated by up to four punctuation characters, and an optional extension: separators
// (space, no-break space, tab, comma, hyphen), a label ("ext", "extensión", "anexo", "доб",
// "x", "#", "~", "int", ";ext=", any case, also full width) with an optional ":" or ".", more
// separators, digits and an optional "#". A line break is part of none of them.
constexpr std::size_t kMostLeadUnits = 2 * (1 + 4) * 2;  // code points of up to two units
constexpr std::size_t kMostLabelUnits = 10 * 2;          // "extensión" and its ":"
constexpr int kFewestDigits = 7;                         // of a number that becomes a link
constexpr std::size_t kLongestRun = 64;                  // digits in a row, see DigitGroup

// Above this many units a stretch is shown to the matcher in pieces.
constexpr std::size_t kPieceUnits = 2048;
// A piece reaches this far beyond the units whose numbers it reports, so that a candidate
// starting there is seen whole.
constexpr std::size_t kPieceOverlapUnits = 2048;

struct CodePoint {
    char32_t value = 0;
    std::size_t size = 0;
};

CodePoint codePointAt(std::u16string_view text, std::size_t i) {
    const char16_t unit = text[i];
    if (unit >= 0xD800 && unit < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] < 0xE000) {
        return {0x10000 + ((char32_t(unit) - 0xD800) << 10) + (char32_t(text[i + 1]) - 0xDC00), 2};
    }
    return {unit, 1};
}

bool isDigit(char32_t c) {
    return c < 0x80 ? (c >= U'0' && c <= U'9') : u_isdigit(static_cast<UChar32>(c)) != 0;
}

// Non-ASCII characters are let through by both tests below: only ASCII is ruled out.
bool isOneOf(char16_t c, std::u16string_view set) { return c >= 0x80 || set.find(c) != set.npos; }
bool isSeparator(char16_t c) { return isOneOf(c, u" \t,-"); }

std::size_t codePointCount(std::u16string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); i += codePointAt(text, i).size) ++count;
    return count;
}

// Whether two digits with this text between them may stand in one candidate.
bool mayJoin(std::u16string_view gap) {
    if (gap.size() <= 8 && codePointCount(gap) <= 4 &&
        std::all_of(gap.begin(), gap.end(), [](char16_t c) { return isOneOf(c, u"-x ().[]/~"); })) {
        return true;
    }
    std::size_t first = 0, last = gap.size();
    while (first < last && isSeparator(gap[first])) ++first;
    while (last > first && isSeparator(gap[last - 1])) --last;
    const std::u16string_view label = gap.substr(first, last - first);
    return label.size() <= kMostLabelUnits &&
           std::all_of(label.begin(), label.end(), [](char16_t c) {
               return isSeparator(c) || isOneOf(c, u"extnsioaEXTNSIOA#~:.;=");
           });
}

// Digits that candidates may join: from the first digit to the end of the last. A run of
// more than kLongestRun digits is no number nor part of one (a number has at most seventeen
// digits, its country code three) and makes a group of its own that is never scanned, so that
// a page of digits costs nothing; the groups beside it end where it starts and ends.
struct DigitGroup {
    std::size_t start = 0;
    std::size_t end = 0;
    int digits = 0;
    bool longRun = false;
};

std::vector<DigitGroup> digitGroups(std::u16string_view text) {
    std::vector<DigitGroup> groups;
    DigitGroup beforeRun;  // the last group as it was before the current run of digits
    std::size_t run = 0;   // digits in that run
    std::size_t runStart = 0;
    for (std::size_t i = 0; i < text.size(); i += codePointAt(text, i).size) {
        const CodePoint c = codePointAt(text, i);
        if (!isDigit(c.value)) {
            run = 0;
            continue;
        }
        if (run == 0) {
            if (groups.empty() || groups.back().longRun ||
                !mayJoin(text.substr(groups.back().end, i - groups.back().end))) {
                groups.push_back({i, i, 0});
            }
            beforeRun = groups.back();
            runStart = i;
        }
        DigitGroup& group = groups.back();
        group.end = i + c.size;
        group.digits += !group.longRun;
        if (++run == kLongestRun + 1) {
            if (beforeRun.digits > 0) {
                group = beforeRun;
                groups.emplace_back();
            }
            groups.back() = {runStart, i + c.size, 0, true};
        }
    }
    return groups;
}

bool splitsCodePoint(std::u16string_view text, std::size_t at) {
    return at > 0 && at < text.size() && text[at - 1] >= 0xD800 && text[at - 1] < 0xDC00 &&
           text[at] >= 0xDC00 && text[at] < 0xE000;
}
std::size_t boundaryAfter(std::u16string_view text, std::size_t at) {
    return at + splitsCodePoint(text, at);
}

// Runs the matcher on text[start, end) and appends its matches that start before limit.
// Returns where the last of them ends, or start.
// The stop flag is polled before each number: the matcher takes up to tens of milliseconds for
// one.
std::size_t appendMatcherMatches(std::u16string_view text, std::size_t start, std::size_t end,
                                 std::size_t limit, const StopFlag& stop,
                                 std::vector<TextMatch>& out) {
    const std::string utf8 = toUTF8(text.substr(start, end - start));
    pn::PhoneNumberMatcher matcher(*pn::PhoneNumberUtil::GetInstance(), utf8, kPhoneRegion,
                                   pn::PhoneNumberMatcher::POSSIBLE, INT_MAX);
    OffsetMap offsets(utf8);
    pn::PhoneNumberMatch match;
    std::size_t lastEnd = start;
    while (!stop.isSet() && matcher.HasNext() && matcher.Next(&match)) {
        if (match.start() < 0 || match.length() <= 0) continue;
        const std::size_t from = start + offsets.unitsAt(static_cast<std::size_t>(match.start()));
        const std::size_t to = start + offsets.unitsAt(static_cast<std::size_t>(match.end()));
        if (from >= limit) break;
        out.push_back(
            {TextMatch::Kind::PhoneNumber, from, to - from, std::nullopt, match.raw_string()});
        lastEnd = to;
    }
    return lastEnd;
}

// The matcher resumes its search where its last number ended, so a piece that reports one
// starts the next piece there, and the pieces find what the whole stretch gives as long as no
// candidate is longer than kPieceOverlapUnits. A piece without any number goes on at its
// limit: only a candidate running across that point (digit groups of thousands of units
// without a number in them) can make a difference there.
void appendStretchMatches(std::u16string_view text, std::size_t start, std::size_t end,
                          const StopFlag& stop, std::vector<TextMatch>& out) {
    while (start < end && !stop.isSet()) {
        if (end - start <= kPieceUnits + kPieceOverlapUnits) {
            appendMatcherMatches(text, start, end, end, stop, out);
            return;
        }
        const std::size_t limit = boundaryAfter(text, start + kPieceUnits);
        const std::size_t pieceEnd = std::min(boundaryAfter(text, limit + kPieceOverlapUnits), end);
        const std::size_t lastEnd = appendMatcherMatches(text, start, pieceEnd, limit, stop, out);
        start = lastEnd > start ? lastEnd : limit;
    }
}

// The matcher on the text around groups[g]: the character before a candidate and the text
// after it are looked at too.
void appendGroupMatches(std::u16string_view text, const std::vector<DigitGroup>& groups,
                        std::size_t g, const StopFlag& stop, std::vector<TextMatch>& out) {
    const std::size_t before = g > 0 ? groups[g - 1].end : 0;
    const std::size_t after = g + 1 < groups.size() ? groups[g + 1].start : text.size();
    std::size_t start = groups[g].start - std::min(groups[g].start - before, kMostLeadUnits + 2);
    std::size_t end = std::min(groups[g].end + 8, after);
    start -= splitsCodePoint(text, start);
    end += splitsCodePoint(text, end);
    appendStretchMatches(text, start, end, stop, out);
}

}  // namespace

void appendAllMatcherMatches(std::u16string_view text, std::vector<TextMatch>& out) {
    appendMatcherMatches(text, 0, text.size(), text.size(), NeverStop(), out);
}

int digitCount(std::u16string_view text) {
    int count = 0;
    for (std::size_t i = 0; i < text.size();) {
        const CodePoint c = codePointAt(text, i);
        count += isDigit(c.value);
        i += c.size;
    }
    return count;
}

void appendPhoneMatches(std::u16string_view text, const StopFlag& stop,
                        std::vector<TextMatch>& out) {
    const std::vector<DigitGroup> groups = digitGroups(text);
    for (std::size_t g = 0; g < groups.size(); ++g) {
        if (groups[g].digits < kFewestDigits) continue;
        if (stop.isSet()) return;
        const std::size_t first = out.size();
        if (auto numbers = plainGroupNumbers(text, groups[g].start, groups[g].end)) {
            for (const TextRange& number : *numbers) {
                out.push_back({TextMatch::Kind::PhoneNumber, number.location, number.length,
                               std::nullopt, toUTF8(text.substr(number.location, number.length))});
            }
        } else {
            appendGroupMatches(text, groups, g, stop, out);
        }
        // Shorter numbers of the group never become links.
        out.erase(std::remove_if(out.begin() + static_cast<std::ptrdiff_t>(first), out.end(),
                                 [text](const TextMatch& m) {
                                     return digitCount(text.substr(m.location, m.length)) <
                                            kFewestDigits;
                                 }),
                  out.end());
    }
}

}  // namespace platform::detail
