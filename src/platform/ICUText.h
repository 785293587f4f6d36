#pragma once
// Conversions between the UTF-8 the files and the command line use and the 16-bit units that
// text positions are counted in. Malformed input never fails: each bad sequence becomes U+FFFD.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

std::u16string toUTF16(std::string_view utf8);
std::string toUTF8(std::u16string_view utf16);

// Number of 16-bit units that the well-formed UTF-8 text needs: one per sequence, two for a
// four-byte sequence. Used to turn byte offsets into unit offsets without converting the text.
std::size_t utf16Length(std::string_view utf8);

// The host name in the ASCII form of IDNA (UTS #46, non-transitional: "ß" stays a letter of its
// own): "www.müller.de" gives "www.xn--mller-kva.de". Lower-cases. nullopt when the name breaks
// the IDNA rules.
std::optional<std::string> hostToASCII(std::u16string_view host);

// How a character of page text takes part in words and addresses.
enum class CharacterClass {
    Letter,       // a letter, digit or combining mark of a script written with spaces
    Symbol,       // a currency, math or other symbol
    Wide,         // East Asian wide or full-width: CJK text and its punctuation
    Punctuation,  // punctuation, spaces, controls and everything else
};
CharacterClass classify(char32_t c);

}  // namespace platform
