#pragma once
// Internal to the data detector: the two scanners whose matches findMatches merges.

#include <string_view>
#include <vector>

#include "platform/DataDetector.h"

namespace platform::detail {

// Appends the link matches of the text in order of location.
void appendLinkMatches(std::u16string_view text, std::vector<TextMatch>& out);
// Appends the telephone-number matches of the text in order of location.
void appendPhoneMatches(std::u16string_view text, std::vector<TextMatch>& out);

}  // namespace platform::detail
