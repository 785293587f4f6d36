#include "platform/DecimalFloat.h"

#include <charconv>
#include <cmath>

namespace platform {

double decimalValue(float value) {
    if (!std::isfinite(value)) return value;
    char text[32];
    const std::to_chars_result written = std::to_chars(text, text + sizeof text, value);
    double result = value;
    if (written.ec == std::errc()) std::from_chars(text, written.ptr, result);
    return result;
}

}  // namespace platform
