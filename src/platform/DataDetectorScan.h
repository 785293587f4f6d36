#pragma once
// Internal to the data detector: the two scanners whose matches findMatches merges.

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/DataDetector.h"
#include "platform/StopFlag.h"

namespace platform::detail {

inline bool isAsciiDigit(char32_t c) { return c >= U'0' && c <= U'9'; }

// Numbers without a "+" are read as numbers of this region, whatever the process locale.
inline constexpr const char* kPhoneRegion = "CN";

// Each appends its matches in order of location; after a stop, those found so far.
void appendLinkMatches(std::u16string_view text, const StopFlag& stop, std::vector<TextMatch>& out);
// Telephone numbers of seven digits or more.
void appendPhoneMatches(std::u16string_view text, const StopFlag& stop,
                        std::vector<TextMatch>& out);

// The numbers the matcher would report in the digit group text[start, end), decided without
// running it (see DataDetector+PlainNumbers.cpp); nullopt when only the matcher can tell.
std::optional<std::vector<TextRange>> plainGroupNumbers(std::u16string_view text,
                                                        std::size_t start, std::size_t end);

// Every match of the telephone-number matcher run over the whole text at once, shorter
// numbers included: what appendPhoneMatches must agree with.
void appendAllMatcherMatches(std::u16string_view text, std::vector<TextMatch>& out);
// The decimal digits (Unicode's "Nd") of the text.
int digitCount(std::u16string_view text);

}  // namespace platform::detail
