#pragma once
// The settings of one job, read from the decoded settings text: items "key=value" separated by
// "|". Keys are compared lowercased and each has one alias; unknown keys and items without
// exactly one "=" are skipped; a later item overrides an earlier one. Path values ("input" and,
// for conversion, "output") have ":7C:" turned into "|" and then ":3D:" into "=".

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace frontend {

// The annotation conversion job (-b), with the defaults that apply when no item sets a value.
struct ConversionSettings {
    std::string inputFile;
    std::string outputFile;
    std::string pageRange;
    std::optional<std::string> password;
    std::int64_t wideMode = 0;
    std::int64_t divWidth = 0;
    bool isHTML5Annotions = false;
    std::optional<std::string> taskID;
    bool isRight2Left = false;
    bool isNewMode = false;
    double aspectRatio = 1.0;
    bool isText2Link = false;
    std::int64_t typeOfText2Link = 3;

    // A "divide" item asked for the dividing width to be measured from the document; this is
    // done only when wideMode is 1 at the end.
    bool detectWidth = false;
    // Bits of the items given: input 1, output 2, divide or ar 4, range 8.
    unsigned requiredItems = 0;

    bool needsWidthDetection() const { return detectWidth && wideMode == 1; }
    // Input, output, range, and a page layout ("divide" or "ar").
    bool isComplete() const { return requiredItems == 15; }
};

// The text-to-link job (-a).
struct TextLinkSettings {
    std::string pdfFile;
    std::string pageRange = "ALL";
    std::optional<std::string> password;
    std::int64_t parseType = 3;
    std::optional<std::string> taskID;
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
