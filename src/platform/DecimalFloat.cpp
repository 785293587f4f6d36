#include "platform/DecimalFloat.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

namespace platform {

namespace {

double shortestDecimal(float value) {
    char text[32];
    const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
    double result = value;
    if (written.ec == std::errc()) std::from_chars(text, written.ptr, result);
    return result;
}

constexpr int kMostDecimals = 6;
constexpr std::array<double, kMostDecimals + 1> kPowersOfTen = {1, 10, 100, 1e3, 1e4, 1e5, 1e6};

// The shortest text is a conversion that costs about 550 instructions, paid for every corner of
// every box of a find. Page coordinates mostly have a few decimals, which are found by plain
// arithmetic that is exact here: a float has 24 significant bits and 10^6 fewer than 20, so the
// value times 10^k, the integer n nearest to it, their difference and half the float's spacing
// times 10^k are all exact doubles. n / 10^k with the fewest decimals k that lies strictly within
// the float's rounding interval is then the shortest text's decimal, and the division rounds it
// as reading the text would. Values whose interval is lopsided (a power of two), ties, huge or
// tiny values and those needing more decimals are left to the conversion. Nullopt for those.
std::optional<double> fewDecimals(float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const int exponent = static_cast<int>((bits >> 23) & 0xFF) - 127;
    if ((bits & 0x7FFFFF) == 0 || exponent < -20 || exponent >= 23) return std::nullopt;
    const auto halfSpacing = std::bit_cast<double>(std::uint64_t(exponent - 24 + 1023) << 52);
    // Adding and taking away 1.5 * 2^52 rounds a double below 2^51 to an integer, ties to even.
    constexpr double kRounder = 6755399441055744.0;
    for (int k = 0; k <= kMostDecimals; ++k) {
        const double scaled = static_cast<double>(value) * kPowersOfTen[k];
        const double nearest = (scaled + kRounder) - kRounder;
        const double distance = std::fabs(nearest - scaled);
        const double bound = halfSpacing * kPowersOfTen[k];
        if (distance == 0.5 || distance == bound) return std::nullopt;
        if (distance < bound) return nearest / kPowersOfTen[k];
    }
    return std::nullopt;
}

// A page's character boxes repeat their values: the characters of a line share top and bottom,
// and each starts where the one before ended. So the values just converted are kept, per thread.
struct Recent {
    std::uint64_t key;  // the float's bits with bit 32 set; 0 for an empty slot
    double value;
};
constexpr int kRecentBits = 10;
thread_local Recent recent[1 << kRecentBits];

double convert(float value) {
    if (const std::optional<double> decimal = fewDecimals(value)) return *decimal;
    return shortestDecimal(value);
}

}  // namespace

double decimalValue(float value) {
    if (!std::isfinite(value) || value == 0) return value;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint64_t key = bits | (std::uint64_t{1} << 32);
    Recent& slot = recent[(bits * 0x9E3779B1u) >> (32 - kRecentBits)];
    if (slot.key != key) slot = {key, convert(value)};
    return slot.value;
}

}  // namespace platform
