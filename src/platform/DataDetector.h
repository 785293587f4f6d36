#pragma once
// Finds web addresses, e-mail addresses and telephone numbers in text, with their ranges in
// 16-bit units.
//
// Links: addresses with the scheme http, https, ftp or file ("http://host/path"), addresses
// starting "www.", bare domain names whose last label is a top-level domain
// ("example.com/path"), and e-mail addresses ("name@host.domain", also written
// "mailto:name@host"). A link starts at a letter or digit that follows no letter, digit, "_" or
// "@" of a script written with spaces; wide characters (CJK text, full-width punctuation) end
// a link and may stand right before it. It ends at a space, a control, punctuation other than
// ASCII's, a wide character or one of < > " { } | \ ^ `; trailing sentence punctuation
// (. , ; : ! ? ' "), an HTML entity and closing brackets without an opening one in the link are
// left out. A bare domain name that prose means otherwise is no link (glued to "/", ":", "-" or
// ".", a file name, a sentence end, a time format, a name reserved for documentation; see "What
// becomes a link" in the README). An address that reaches a line end inside itself goes on
// on the next line (see appendLinkMatches). Its URL is the text with "http://" put before
// addresses without a scheme and "mailto:" before bare e-mail addresses, the host in IDNA's
// ASCII form and other non-ASCII text percent escaped in UTF-8, wholly percent escaped when
// that is no valid URL; nullopt when neither form is.
//
// Telephone numbers: libphonenumber's matcher with the default region "CN" and the leniency
// "possible"; numbers written with "+" and a country code are found whatever the region. Only
// numbers of seven digits or more are reported, and none that overlaps a link.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/StopFlag.h"

namespace platform {

// A stretch of a text, in 16-bit units.
struct TextRange {
    std::size_t location = 0;
    std::size_t length = 0;
    std::size_t end() const { return location + length; }
    bool operator==(const TextRange&) const = default;
};

struct TextMatch {
    enum class Kind { Link, PhoneNumber };
    Kind kind = Kind::Link;
    std::size_t location = 0;  // in 16-bit units
    std::size_t length = 0;
    std::optional<std::string> url;  // Link: the parsed URL
    std::string phoneNumber;         // PhoneNumber: the number as written in the text
    bool operator==(const TextMatch&) const = default;
};

enum DetectorTypes : unsigned { kDetectLinks = 1, kDetectPhoneNumbers = 2 };

// The matches of the kinds asked for (a bit set of DetectorTypes), ordered by location and not
// overlapping. Time and memory grow linearly with the text. The stop flag is polled every few
// thousand units; once it is set, what was found so far is returned.
std::vector<TextMatch> findMatches(std::u16string_view text, unsigned types,
                                   const StopFlag& stop = NeverStop());

// Looks up the link or telephone number around an index of a text whose matches were found
// once.
class URLFinder {
public:
    explicit URLFinder(std::vector<TextMatch> matches);  // as findMatches gives them
    // Finds links and phone numbers.
    static URLFinder forText(std::u16string_view text, const StopFlag& stop = NeverStop());

    // The match whose range contains the index, or nullptr. The pointer lives as the finder.
    const TextMatch* matchAtIndex(std::size_t index) const;
    const std::vector<TextMatch>& matches() const { return matches_; }

private:
    std::vector<TextMatch> matches_;
};

}  // namespace platform
