// Telephone numbers through libphonenumber, whose matcher works on UTF-8 and reports byte
// offsets; they are turned into 16-bit unit offsets while walking the matches in order.
//
// The matcher converts the rest of its text anew for every candidate, so a long text costs it
// time quadratic in its length. It is therefore given the text in chunks of whole lines, each
// ending with its line break, and chunks without any digit are skipped; a number is never
// written across a line break.
#include <phonenumbers/phonenumbermatch.h>
#include <phonenumbers/phonenumbermatcher.h>
#include <phonenumbers/phonenumberutil.h>
#include <unicode/uchar.h>

#include <climits>
#include <string>

#include "platform/DataDetectorScan.h"
#include "platform/ICUText.h"

namespace platform::detail {

namespace {

namespace pn = i18n::phonenumbers;

// Numbers without a "+" are read as numbers of this region, whatever the process locale.
constexpr const char* kDefaultRegion = "CN";

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

// Chunks grow line by line up to about this many units; a longer line stays whole.
constexpr std::size_t kChunkUnits = 512;

std::size_t chunkEnd(std::u16string_view text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && end - start < kChunkUnits) {
        std::size_t lineBreak = text.find(u'\n', end);
        end = lineBreak == text.npos ? text.size() : lineBreak + 1;
    }
    return end;
}

bool hasDigit(std::u16string_view text) {
    for (char16_t c : text) {
        if ((c >= u'0' && c <= u'9') || (c >= 0x660 && u_isdigit(c))) return true;
    }
    return false;
}

void appendChunkMatches(std::u16string_view chunk, std::size_t chunkStart,
                        std::vector<TextMatch>& out) {
    const std::string utf8 = toUTF8(chunk);
    pn::PhoneNumberMatcher matcher(*pn::PhoneNumberUtil::GetInstance(), utf8, kDefaultRegion,
                                   pn::PhoneNumberMatcher::POSSIBLE, INT_MAX);
    OffsetMap offsets(utf8);
    pn::PhoneNumberMatch match;
    while (matcher.HasNext() && matcher.Next(&match)) {
        if (match.start() < 0 || match.length() <= 0) continue;
        std::size_t start = offsets.unitsAt(static_cast<std::size_t>(match.start()));
        std::size_t end = offsets.unitsAt(static_cast<std::size_t>(match.end()));
        out.push_back({TextMatch::Kind::PhoneNumber, chunkStart + start, end - start, std::nullopt,
                       match.raw_string()});
    }
}

}  // namespace

void appendPhoneMatches(std::u16string_view text, std::vector<TextMatch>& out) {
    for (std::size_t start = 0, end = 0; start < text.size(); start = end) {
        end = chunkEnd(text, start);
        std::u16string_view chunk = text.substr(start, end - start);
        if (hasDigit(chunk)) appendChunkMatches(chunk, start, out);
    }
}

}  // namespace platform::detail
