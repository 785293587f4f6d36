#include "platform/NumberText.h"

#include <charconv>
#include <limits>

namespace platform {
namespace {

std::size_t skipBlanks(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n' ||
                               text[i] == '\r' || text[i] == '\f' || text[i] == '\v')) {
        ++i;
    }
    return i;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

template <class Int>
Int leadingInteger(std::string_view text) {
    std::size_t i = skipBlanks(text);
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    // Accumulate towards the sign so that the most negative value is reachable.
    Int value = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        Int digit = static_cast<Int>(text[i] - '0');
        if (negative) {
            if (value < (std::numeric_limits<Int>::min() + digit) / 10) {
                return std::numeric_limits<Int>::min();
            }
            value = value * 10 - digit;
        } else {
            if (value > (std::numeric_limits<Int>::max() - digit) / 10) {
                return std::numeric_limits<Int>::max();
            }
            value = value * 10 + digit;
        }
    }
    return value;
}

}  // namespace

std::int32_t intValue(std::string_view text) { return leadingInteger<std::int32_t>(text); }

std::int64_t integerValue(std::string_view text) { return leadingInteger<std::int64_t>(text); }

float floatValue(std::string_view text) {
    std::size_t start = skipBlanks(text);
    std::size_t i = start;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t digits = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) ++digits;
    if (i < text.size() && text[i] == '.') {
        for (++i; i < text.size() && isDigit(text[i]); ++i) ++digits;
    }
    if (digits == 0) return 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        std::size_t j = i + 1;
        if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
        if (j < text.size() && isDigit(text[j])) {
            for (i = j; i < text.size() && isDigit(text[i]); ++i) {
            }
        }
    }
    // from_chars refuses a leading "+".
    if (text[start] == '+') ++start;
    float value = 0;
    auto [end, error] = std::from_chars(text.data() + start, text.data() + i, value);
    if (error == std::errc::result_out_of_range) {
        bool negative = text[start] == '-';
        return negative ? -std::numeric_limits<float>::infinity()
                        : std::numeric_limits<float>::infinity();
    }
    return error == std::errc() ? value : 0;
}

}  // namespace platform
