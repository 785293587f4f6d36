#pragma once
// Top-level domains as the Public Suffix List names them (its ICANN section, as the system
// ships it). The list is loaded once per process, on first use.

#include <string_view>

namespace platform {

// True when the single label (no dot; ASCII letters in any case, digits or hyphens, or an
// "xn--" label) is a top-level domain: "com", "CN", "tv", "xn--fiqs8s". False for unknown
// labels, labels with a dot or other characters, and when no list could be loaded.
bool isTopLevelDomain(std::string_view label);

}  // namespace platform
