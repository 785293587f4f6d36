#include "platform/DecimalFloat.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace platform {

namespace {

double shortestDecimal(float value) {
    char text[32];
    const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
    double result = value;
    if (written.ec == std::errc()) std::from_chars(text, written.ptr, result);
    return result;
}

// A page's character boxes repeat their values: the characters of a line share top and bottom,
// and each starts where the one before ended. The conversion above took a third of a text-to-link
// job's instructions, so the values just converted are kept, per thread.
struct Recent {
    std::uint64_t key;  // the float's bits with bit 32 set; 0 for an empty slot
    double value;
};
constexpr int kRecentBits = 10;
thread_local Recent recent[1 << kRecentBits];

}  // namespace

double decimalValue(float value) {
    if (!std::isfinite(value)) return value;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const std::uint64_t key = bits | (std::uint64_t{1} << 32);
    Recent& slot = recent[(bits * 0x9E3779B1u) >> (32 - kRecentBits)];
    if (slot.key != key) slot = {key, shortestDecimal(value)};
    return slot.value;
}

}  // namespace platform
