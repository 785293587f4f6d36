#include "platform/ICUText.h"

#include <unicode/uchar.h>
#include <unicode/uidna.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <array>
#include <climits>
#include <cstdint>
#include <memory>

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

namespace {

struct IDNAClose {
    void operator()(UIDNA* idna) const { uidna_close(idna); }
};

const UIDNA* idnaConverter() {
    static const std::unique_ptr<UIDNA, IDNAClose> converter([] {
        UErrorCode status = U_ZERO_ERROR;
        UIDNA* idna = uidna_openUTS46(
            UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ, &status);
        return U_SUCCESS(status) ? idna : nullptr;
    }());
    return converter.get();
}

}  // namespace

std::optional<std::string> hostToASCII(std::u16string_view host) {
    const UIDNA* idna = idnaConverter();
    if (!idna || host.empty() || host.size() > 253 * 4) return std::nullopt;
    std::array<UChar, 1024> out{};
    UIDNAInfo info = UIDNA_INFO_INITIALIZER;
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t length =
        uidna_nameToASCII(idna, host.data(), clampedLength(host.size()), out.data(),
                          clampedLength(out.size()), &info, &status);
    if (U_FAILURE(status) || info.errors != 0) return std::nullopt;
    return toUTF8(std::u16string_view(out.data(), static_cast<std::size_t>(length)));
}

CharacterClass classify(char32_t c) {
    const auto codePoint = static_cast<UChar32>(c);
    const auto width = u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH);
    if (width == U_EA_WIDE || width == U_EA_FULLWIDTH) return CharacterClass::Wide;
    const std::uint32_t category = U_GET_GC_MASK(codePoint);
    if (category & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) return CharacterClass::Letter;
    if (category & U_GC_S_MASK) return CharacterClass::Symbol;
    return CharacterClass::Punctuation;
}

}  // namespace platform
