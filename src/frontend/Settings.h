#pragma once
// The settings of one job, read from the decoded settings text: items "key=value" separated by
// "|". Keys are compared lowercased and each has one alias; unknown keys and items without
// exactly one "=" are skipped; a later item overrides an earlier one. Path values ("input" and,
// for conversion, "output") have ":7C:" turned into "|" and then ":3D:" into "=".

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "convert/QXAnnos.h"
#include "text2link/ParsePDFTextLink.h"

namespace frontend {

// The annotation conversion job (-b) as the items set it, starting from the job's defaults, and
// what the reading noted beside it.
struct ConversionSettings : convert::QXAnnos {
    // A "divide" item asked for the dividing width to be measured from the document; this is
    // done only when wideMode is 1 at the end.
    bool detectWidth = false;
    // Bits of the items given: input 1, output 2, divide or ar 4, range 8.
    unsigned requiredItems = 0;

    bool needsWidthDetection() const { return detectWidth && wideMode == 1; }
    // Input, output, range, and a page layout ("divide" or "ar").
    bool isComplete() const { return requiredItems == 15; }
};

// The text-to-link job (-a) as the items set it; the range is "ALL" unless an item gives one.
struct TextLinkSettings : text2link::ParsePDFTextLink {
    TextLinkSettings() { pageRange = "ALL"; }

    unsigned requiredItems = 0;

    // Input (bit 1) and range (bit 2); bit 4 notes a password.
    bool isComplete() const { return (requiredItems & 3) == 3; }
};

ConversionSettings readConversionSettings(const std::string& items);

// nullopt when an item "type" (or "t") has the value 0, or no number: that ends the program at
// once, before any later item is read.
std::optional<TextLinkSettings> readTextLinkSettings(const std::string& items);

// The positional form: PDF path, page range, then optionally password, type (any number, 0
// included) and identifier, taken as they are (no unescaping). Later arguments are ignored;
// missing ones keep their defaults.
TextLinkSettings readTextLinkArguments(std::span<const std::string> arguments);

}  // namespace frontend
