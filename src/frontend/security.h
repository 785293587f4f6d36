#pragma once
// The argument codes codec. The host never passes settings in plain text: it enciphers the UTF-8
// settings with RC4 under a fresh eight-symbol hexadecimal key, writes every cipher byte as two
// symbols of one of three rotating 16-symbol alphabets, and appends the key and "_".

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace frontend {

// 88 symbols shared with the host. The encoder writes with the first 48 (three rows of 16, row r
// holding nibbles 0 to 15 at positions 16·r to 16·r+15); the decoder looks symbols up among the
// first 64, which are all distinct. The rest is reserved.
inline constexpr std::string_view codeAlphabets =
    "ohkV5BQc2pn17tfZT6SRwPsdE40yvebIUau3mMWO8x.izLHjgKDXJN-qAY9lCGrF+~!*()[]{}<>?;:,@#^=/%&$";

// The cipher's modulus: the size of its permutation. Every caller in this program uses 256, which
// makes it standard RC4; a value outside 1 to 256 is taken as 256.
inline constexpr int kCodesModulus = 256;

// RC4's key schedule with the modulus n = state.size() (at most 256). Only the low 8 bits of the
// key length count; an empty key leaves the mixing array all zero.
void codesKeySchedule(std::span<std::uint8_t> state, std::span<const std::uint8_t> key);

// Enciphers (and, being symmetric, deciphers) data under the UTF-8 bytes of key. Returns a new
// buffer of the same length. No keystream bytes are dropped.
std::vector<std::uint8_t> codesCipherData(std::span<const std::uint8_t> data, std::string_view key,
                                          int n = kCodesModulus);

// Enciphers the file at source into destination, replacing any file there. False when the
// source does not exist or either file cannot be opened; the destination may then be missing.
bool codesCipherFile(const std::string& source, const std::string& destination,
                     std::string_view key, int n = kCodesModulus);

// The codes text of a UTF-8 plain text: 2·N symbols for N cipher bytes, the key, then "_". The key
// comes from the process's rand() and clock(), so two encodings of one text differ.
std::string encodeArgumentCodes(std::string_view plain);

// The plain text of a codes text; anything from the first "_" on is ignored. Symbols outside the
// table count as nibble 0. Returns nullopt when fewer than eight symbols (the key) stand before
// the "_", when the codes text itself is not UTF-8, or when the deciphered bytes are not UTF-8.
std::optional<std::string> decodeArgumentCodes(std::string_view codes);

}  // namespace frontend
