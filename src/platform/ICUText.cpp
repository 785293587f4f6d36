#include "platform/ICUText.h"

#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <climits>

namespace platform {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

// ICU takes 32-bit lengths; longer texts are converted in one piece only up to that limit,
// which no page text or path comes near.
std::int32_t clampedLength(std::size_t length) {
    return length > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(length);
}

}  // namespace

std::u16string toUTF16(std::string_view utf8) {
    std::u16string out(utf8.size(), u'\0');  // never more units than bytes
    std::int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), clampedLength(out.size()), &written, utf8.data(),
                         clampedLength(utf8.size()), kReplacement, nullptr, &status);
    if (U_FAILURE(status)) return {};
    out.resize(static_cast<std::size_t>(written));
    return out;
}

std::string toUTF8(std::u16string_view utf16) {
    std::string out(utf16.size() * 3, '\0');  // at most three bytes per unit
    std::int32_t written = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(out.data(), clampedLength(out.size()), &written, utf16.data(),
                       clampedLength(utf16.size()), kReplacement, nullptr, &status);
    if (U_FAILURE(status)) return {};
    out.resize(static_cast<std::size_t>(written));
    return out;
}

std::size_t utf16Length(std::string_view utf8) {
    std::size_t units = 0;
    for (unsigned char byte : utf8) {
        if (U8_IS_TRAIL(byte)) continue;
        units += byte >= 0xF0 ? 2 : 1;
    }
    return units;
}

}  // namespace platform
