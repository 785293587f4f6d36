#pragma once
// Conversions between the UTF-8 the files and the command line use and the 16-bit units that
// text positions are counted in. Malformed input never fails: each bad sequence becomes U+FFFD.

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

std::u16string toUTF16(std::string_view utf8);
std::string toUTF8(std::u16string_view utf16);

// Number of 16-bit units that the well-formed UTF-8 text needs: one per sequence, two for a
// four-byte sequence. Used to turn byte offsets into unit offsets without converting the text.
std::size_t utf16Length(std::string_view utf8);

}  // namespace platform
