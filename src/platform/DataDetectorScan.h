#pragma once
// Internal to the data detector: the two scanners whose matches findMatches merges.

#include <string_view>
#include <vector>

#include "platform/DataDetector.h"
#include "platform/StopFlag.h"

namespace platform::detail {

// Each appends its matches in order of location; after a stop, those found so far.
void appendLinkMatches(std::u16string_view text, const StopFlag& stop, std::vector<TextMatch>& out);
// Telephone numbers of seven digits or more.
void appendPhoneMatches(std::u16string_view text, const StopFlag& stop,
                        std::vector<TextMatch>& out);

// Every match of the telephone-number matcher run over the whole text at once, shorter
// numbers included: what appendPhoneMatches must agree with.
void appendAllMatcherMatches(std::u16string_view text, std::vector<TextMatch>& out);
// The decimal digits (Unicode's "Nd") of the text.
int digitCount(std::u16string_view text);

}  // namespace platform::detail
