// Telephone numbers through libphonenumber, whose matcher works on UTF-8 and reports byte
// offsets; they are turned into 16-bit unit offsets while walking the matches in order.
#include <phonenumbers/phonenumbermatch.h>
#include <phonenumbers/phonenumbermatcher.h>
#include <phonenumbers/phonenumberutil.h>

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
        if (byteOffset < byte_) return 0;  // matches come in order; never taken
        units_ += utf16Length(std::string_view(text_).substr(byte_, byteOffset - byte_));
        byte_ = byteOffset;
        return units_;
    }

private:
    const std::string& text_;
    std::size_t byte_ = 0;
    std::size_t units_ = 0;
};

}  // namespace

void appendPhoneMatches(std::u16string_view text, std::vector<TextMatch>& out) {
    const std::string utf8 = toUTF8(text);
    pn::PhoneNumberMatcher matcher(*pn::PhoneNumberUtil::GetInstance(), utf8, kDefaultRegion,
                                   pn::PhoneNumberMatcher::POSSIBLE, INT_MAX);
    OffsetMap offsets(utf8);
    pn::PhoneNumberMatch match;
    while (matcher.HasNext() && matcher.Next(&match)) {
        if (match.start() < 0 || match.length() <= 0) continue;
        std::size_t start = offsets.unitsAt(static_cast<std::size_t>(match.start()));
        std::size_t end = offsets.unitsAt(static_cast<std::size_t>(match.end()));
        out.push_back({TextMatch::Kind::PhoneNumber, start, end - start, std::nullopt,
                       match.raw_string()});
    }
}

}  // namespace platform::detail
