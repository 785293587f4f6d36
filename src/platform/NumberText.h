#pragma once
// Lenient number conversions of settings and XML texts: leading blanks skipped, an optional
// sign, then digits up to the first other character. Text without a leading number gives 0;
// an integer too large for its type gives the type's limit.

#include <cstdint>
#include <string_view>

namespace platform {

std::int32_t intValue(std::string_view text);
std::int64_t integerValue(std::string_view text);
float floatValue(std::string_view text);  // also takes a fraction and an exponent

}  // namespace platform
