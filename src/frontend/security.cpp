#include "frontend/security.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <utility>

namespace frontend {
namespace {

constexpr std::size_t kKeyLength = 8;
constexpr std::size_t kDecodedSymbols = 64;

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

int toModulus(int n) { return n >= 1 && n <= 256 ? n : 256; }

// RC4's output generator over a state made by codesKeySchedule. i and j stay below the modulus,
// which is at most 256, so they fit the byte-sized indices of the classic algorithm.
class Keystream {
public:
    Keystream(std::string_view key, int n) : n_(toModulus(n)), state_(n_) {
        codesKeySchedule(state_, bytesOf(key));
    }

    std::uint8_t next() {
        i_ = (i_ + 1) % n_;
        const std::uint8_t t = state_[i_];
        j_ = (j_ + t) % n_;
        std::swap(state_[i_], state_[j_]);
        return state_[(state_[i_] + t) % n_];
    }

private:
    int n_;
    std::vector<std::uint8_t> state_;
    int i_ = 0;
    int j_ = 0;
};

// Length of the well-formed UTF-8 sequence at text[at], or 0 when it is malformed: a stray
// continuation byte, a truncated sequence, an overlong form, a surrogate or a value past U+10FFFF.
std::size_t utf8SequenceLength(std::string_view text, std::size_t at) {
    struct LeadByte {
        unsigned char mask;
        unsigned char pattern;
        std::size_t length;
        char32_t smallest;  // anything below has a shorter form
    };
    static constexpr LeadByte kLeadBytes[] = {
        {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) return 1;
    const LeadByte* form = nullptr;
    for (const LeadByte& candidate : kLeadBytes) {
        if ((lead & candidate.mask) == candidate.pattern) form = &candidate;
    }
    if (form == nullptr) return 0;
    const std::size_t length = form->length;
    char32_t value = lead & ~form->mask;
    if (text.size() - at < length) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        const auto next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80) return 0;
        value = (value << 6) | (next & 0x3F);
    }
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    return value < form->smallest || value > 0x10FFFF || surrogate ? 0 : length;
}

// The text cut into its characters, each as its UTF-8 bytes; nullopt when it is not UTF-8.
std::optional<std::vector<std::string_view>> splitSymbols(std::string_view text) {
    std::vector<std::string_view> symbols;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8SequenceLength(text, at);
        if (length == 0) return std::nullopt;
        symbols.push_back(text.substr(at, length));
        at += length;
    }
    return symbols;
}

bool isValidUtf8(std::string_view text) { return splitSymbols(text).has_value(); }

// The nibble a symbol stands for in row r. A symbol outside the table counts as 0; a symbol of
// another row gives its position shifted by the row, wrapped to a byte, as the host's decoder does.
std::uint8_t nibbleOf(std::string_view symbol, std::size_t row) {
    if (symbol.size() != 1) return 0;
    const std::size_t position = codeAlphabets.substr(0, kDecodedSymbols).find(symbol[0]);
    if (position == std::string_view::npos) return 0;
    return static_cast<std::uint8_t>(position - 16 * row);
}

std::string makeKey() {
    std::int64_t seed =
        (static_cast<std::int64_t>(std::rand()) << 16) + static_cast<std::int64_t>(std::clock());
    std::string key(kKeyLength, '0');
    // The last symbol carries the lowest nibble.
    for (std::size_t k = kKeyLength; k-- > 0; seed >>= 4) {
        const int nibble = static_cast<int>(seed & 15);
        if (nibble < 10) {
            key[k] = static_cast<char>('0' + nibble);
        } else {
            key[k] = static_cast<char>(((std::rand() & 1) != 0 ? 'a' : 'A') + nibble - 10);
        }
    }
    return key;
}

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File openFile(const std::string& path, const char* mode) {
    return File(std::fopen(path.c_str(), mode), &std::fclose);
}

}  // namespace

void codesKeySchedule(std::span<std::uint8_t> state, std::span<const std::uint8_t> key) {
    const std::size_t n = state.size();
    const std::size_t keyLength = key.size() & 0xFF;
    for (std::size_t k = 0; k < n; ++k) state[k] = static_cast<std::uint8_t>(k);
    std::size_t j = 0;
    for (std::size_t k = 0; k < n; ++k) {
        const std::uint8_t mix = keyLength == 0 ? 0 : key[k % keyLength];
        j = (j + state[k] + mix) % n;
        std::swap(state[k], state[j]);
    }
}

std::vector<std::uint8_t> codesCipherData(std::span<const std::uint8_t> data, std::string_view key,
                                          int n) {
    Keystream keystream(key, n);
    std::vector<std::uint8_t> result;
    result.reserve(data.size());
    for (std::uint8_t byte : data) result.push_back(byte ^ keystream.next());
    return result;
}

bool codesCipherFile(const std::string& source, const std::string& destination,
                     std::string_view key, int n) {
    std::error_code ignored;
    if (!std::filesystem::exists(source, ignored)) return false;
    Keystream keystream(key, n);
    File in = openFile(source, "rb");
    if (!in) return false;
    // Removing first replaces a link at the destination rather than writing through it.
    std::filesystem::remove(destination, ignored);
    File out = openFile(destination, "wb");
    if (!out) return false;
    while (true) {
        // The keystream advances before each read, once more at the end; the output is the same.
        const std::uint8_t mask = keystream.next();
        const int byte = std::fgetc(in.get());
        if (byte == EOF) break;
        std::fputc(byte ^ mask, out.get());
    }
    return true;
}

std::string encodeArgumentCodes(std::string_view plain) {
    const std::string key = makeKey();
    const std::vector<std::uint8_t> cipher = codesCipherData(bytesOf(plain), key);
    std::string codes;
    codes.reserve(2 * cipher.size() + kKeyLength + 1);
    for (std::size_t k = 0; k < cipher.size(); ++k) {
        const std::size_t row = 16 * (k % 3);
        codes += codeAlphabets[row + (cipher[k] >> 4)];
        codes += codeAlphabets[row + (cipher[k] & 15)];
    }
    return codes + key + "_";
}

std::optional<std::string> decodeArgumentCodes(std::string_view codes) {
    codes = codes.substr(0, codes.find('_'));
    // Symbols are characters, as the host counts them; the host itself only writes ASCII.
    const auto symbols = splitSymbols(codes);
    if (!symbols || symbols->size() < kKeyLength) return std::nullopt;
    const std::size_t pairsEnd = symbols->size() - kKeyLength;
    std::string key;
    for (std::size_t k = pairsEnd; k < symbols->size(); ++k) key += (*symbols)[k];
    std::vector<std::uint8_t> cipher;
    for (std::size_t k = 0; k + 1 < pairsEnd; k += 2) {
        const std::size_t row = (k / 2) % 3;
        const std::uint8_t high = nibbleOf((*symbols)[k], row);
        const std::uint8_t low = nibbleOf((*symbols)[k + 1], row);
        cipher.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    const std::vector<std::uint8_t> plain = codesCipherData(cipher, key);
    std::string text(plain.begin(), plain.end());
    if (!isValidUtf8(text)) return std::nullopt;
    return text;
}

}  // namespace frontend
