// The link scanner. It looks at each unit a bounded number of times and allocates only for the
// matches it reports, so whole books scan quickly; ICU is asked about a character only when it
// is not ASCII.
#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "platform/DataDetectorScan.h"
#include "platform/ICUText.h"
#include "platform/PublicSuffix.h"
#include "platform/URIParser.h"

namespace platform::detail {

namespace {

bool isAsciiLetter(char32_t c) { return (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z'); }
bool isAsciiAlnum(char32_t c) { return isAsciiLetter(c) || isAsciiDigit(c); }
bool isOneOf(char32_t c, std::u16string_view set) {
    return c < 0x80 && set.find(static_cast<char16_t>(c)) != set.npos;
}

// Letters, digits and marks of every script written with spaces make words. Wide characters
// (CJK text and its full-width punctuation) are no part of a word here: an address may stand
// right before or after them, and they end it.
bool isWordChar(char32_t c) {
    return c < 0x80 ? isAsciiAlnum(c) : classify(c) == CharacterClass::Letter;
}
bool isLabelChar(char32_t c) { return isWordChar(c) || c == U'-'; }
bool isLocalPartChar(char32_t c) { return isAsciiAlnum(c) || isOneOf(c, u"._%+-"); }
// What a link may contain after its host: printable ASCII but the characters that never
// appear unescaped in a URL, and non-ASCII letters, digits and symbols (escaped in the URL).
bool isURLBodyChar(char32_t c) {
    if (c < 0x80) return c > 0x20 && c < 0x7F && !isOneOf(c, u"<>\"{}|\\^`");
    const CharacterClass kind = classify(c);
    return kind == CharacterClass::Letter || kind == CharacterClass::Symbol;
}
// A link never starts right after these: it would be the tail of a word or an address.
bool gluesToPrevious(char32_t c) { return isWordChar(c) || c == U'@' || c == U'_'; }
// A bare domain name right after these is part of a path, a misspelled scheme or a longer
// name.
bool gluesBareName(char32_t c) { return isOneOf(c, u"/:-."); }

struct CodePoint {
    char32_t value = 0;
    std::size_t size = 0;
};

bool isLead(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool isTrail(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }
char32_t combine(char16_t lead, char16_t trail) {
    return 0x10000 + ((char32_t(lead) - 0xD800) << 10) + (char32_t(trail) - 0xDC00);
}

CodePoint codePointAt(std::u16string_view text, std::size_t i) {
    if (isLead(text[i]) && i + 1 < text.size() && isTrail(text[i + 1])) {
        return {combine(text[i], text[i + 1]), 2};
    }
    return {text[i], 1};
}

char32_t codePointBefore(std::u16string_view text, std::size_t i) {
    if (i == 0) return 0;
    if (isTrail(text[i - 1]) && i >= 2 && isLead(text[i - 2])) {
        return combine(text[i - 2], text[i - 1]);
    }
    return text[i - 1];
}

std::size_t skipWhile(std::u16string_view text, std::size_t i, bool (*accept)(char32_t)) {
    while (i < text.size()) {
        const CodePoint c = codePointAt(text, i);
        if (!accept(c.value)) break;
        i += c.size;
    }
    return i;
}

bool isAscii(std::u16string_view text) {
    for (char16_t c : text) {
        if (c >= 0x80) return false;
    }
    return true;
}

char asciiLower(char16_t c) {
    return static_cast<char>(c >= u'A' && c <= u'Z' ? c - u'A' + u'a' : c);
}

bool equalsIgnoringCase(std::u16string_view text, std::string_view lowerAscii) {
    if (text.size() != lowerAscii.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (asciiLower(text[i]) != lowerAscii[i]) return false;
    }
    return true;
}

struct Host {
    std::size_t start = 0;
    std::size_t end = 0;
    int labels = 0;
    std::size_t lastLabel = 0;  // where the last label starts
    std::u16string_view text;   // the whole host
    std::u16string_view last() const { return text.substr(lastLabel - start); }
};

// Dot-separated labels from start; a dot not followed by a label is not part of the host.
Host scanHost(std::u16string_view text, std::size_t start) {
    Host host{start, start, 0, start, {}};
    std::size_t i = start;
    while (i < text.size()) {
        const std::size_t labelStart = i;
        i = skipWhile(text, i, isLabelChar);
        if (i == labelStart) break;
        host.end = i;
        host.lastLabel = labelStart;
        ++host.labels;
        if (i + 1 >= text.size() || text[i] != u'.' || !isLabelChar(codePointAt(text, i + 1).value))
            break;
        ++i;
    }
    host.text = text.substr(start, host.end - start);
    return host;
}

// A host glued to a following underscore is part of an identifier.
bool endsCleanly(std::u16string_view text, const Host& host) {
    return host.end >= text.size() || text[host.end] != u'_';
}

bool endsInTopLevelDomain(const Host& host) {
    std::u16string_view label = host.last();
    if (host.labels < 2 || label.size() > 63) return false;
    if (!isAscii(label)) {
        std::optional<std::string> ascii = hostToASCII(label);
        return ascii && isTopLevelDomain(*ascii);
    }
    std::array<char, 63> bytes{};
    for (std::size_t i = 0; i < label.size(); ++i) bytes[i] = static_cast<char>(label[i]);
    return isTopLevelDomain(std::string_view(bytes.data(), label.size()));
}

// Where an HTML entity such as "&amp;" ends the text at end, or end.
std::size_t entityStart(std::u16string_view text, std::size_t end, std::size_t minEnd) {
    if (end == 0 || text[end - 1] != u';') return end;
    std::size_t i = end - 1;
    while (i > minEnd && isAsciiAlnum(text[i - 1])) --i;
    return i < end - 1 && i > minEnd && text[i - 1] == u'&' ? i - 1 : end;
}

// Drops trailing sentence punctuation, an HTML entity, and closing brackets that close nothing
// in the link, never cutting below minEnd.
std::size_t trimTrailing(std::u16string_view text, std::size_t start, std::size_t end,
                         std::size_t minEnd) {
    static constexpr std::u16string_view kOpen = u"([{", kClose = u")]}";
    while (end > minEnd) {
        end = entityStart(text, end, minEnd);
        if (end <= minEnd) break;
        char16_t last = text[end - 1];
        std::size_t bracket = kClose.find(last);
        if (bracket != kClose.npos) {
            std::u16string_view link = text.substr(start, end - start);
            std::ptrdiff_t opened = 0;
            for (char16_t c : link) opened += (c == kOpen[bracket]) - (c == last);
            if (opened >= 0) break;
        } else if (!isOneOf(last, u".,;:!?'\"")) {
            break;
        }
        --end;
    }
    return end;
}

struct Found {
    std::size_t end = 0;
    const char* prefix = "";  // what the URL needs before the text
    std::size_t hostStart = 0, hostEnd = 0;
};

// An e-mail address; a domain without a dot only after "mailto:" (minLabels 1).
std::optional<Found> emailAt(std::u16string_view text, std::size_t start, int minLabels = 2) {
    std::size_t at = skipWhile(text, start, isLocalPartChar);
    if (at == start || at >= text.size() || text[at] != u'@') return std::nullopt;
    Host domain = scanHost(text, at + 1);
    if (domain.labels < minLabels || !endsCleanly(text, domain)) return std::nullopt;
    // The last label names a domain, not a number, and no label ends in a hyphen. Without
    // "mailto:" it is a word of two letters or more, as top-level domains are: formulas put "@"
    // between names too (9@AJ.B, 9@AJ.0A).
    std::u16string_view last = domain.last();
    if (last.back() == u'-' || skipWhile(last, 0, isAsciiDigit) == last.size()) {
        return std::nullopt;
    }
    if (minLabels > 1 && (last.size() < 2 || std::any_of(last.begin(), last.end(), isAsciiDigit))) {
        return std::nullopt;
    }
    return Found{domain.end, "mailto:", domain.start, domain.end};
}

std::optional<Found> schemeLinkAt(std::u16string_view text, std::size_t start) {
    std::size_t colon = skipWhile(text, start, isAsciiLetter);
    if (colon >= text.size() || text[colon] != u':') return std::nullopt;
    std::u16string_view scheme = text.substr(start, colon - start);
    if (equalsIgnoringCase(scheme, "mailto")) {
        auto email = emailAt(text, colon + 1, 1);
        if (email) email->prefix = "";
        return email;
    }
    bool known = false;
    for (std::string_view name : {"http", "https", "ftp", "file"}) {
        known = known || equalsIgnoringCase(scheme, name);
    }
    std::size_t body = colon + 3;
    if (!known || text.substr(colon, 3) != u"://" || body >= text.size()) return std::nullopt;
    const Host host = scanHost(text, body);
    const bool hostStartsWell = isWordChar(codePointAt(text, body).value);
    if (text[body] != u'/' && (!hostStartsWell || !endsCleanly(text, host))) return std::nullopt;
    std::size_t end = skipWhile(text, body, isURLBodyChar);
    return Found{trimTrailing(text, start, end, body + 1), "", host.start, host.end};
}

bool hasMixedCase(std::u16string_view label) {
    bool upper = false, lower = false;
    for (char16_t c : label) {
        upper = upper || (c >= u'A' && c <= u'Z');
        lower = lower || (c >= u'a' && c <= u'z');
    }
    return upper && lower;
}

// Lower-case extensions of files and code that are also top-level domains.
bool isFileExtension(std::u16string_view label) {
    static constexpr std::array<std::u16string_view, 17> kExtensions = {
        u"app", u"as", u"cc", u"md", u"mk", u"ml", u"mobi", u"mov", u"pl",
        u"pm",  u"ps", u"py", u"rs", u"sh", u"so", u"tf",   u"zip"};
    for (std::u16string_view extension : kExtensions) {
        if (label == extension) return true;
    }
    return false;
}

// "hh.mm.ss", "yyyy.mm.dd": every label one letter written over again.
bool isFormatPattern(const Host& host) {
    std::size_t i = 0;
    while (i < host.text.size()) {
        const std::size_t labelStart = i;
        while (i < host.text.size() && host.text[i] == host.text[labelStart]) ++i;
        if (i - labelStart < 2 || !isAsciiLetter(host.text[labelStart])) return false;
        if (i < host.text.size() && host.text[i++] != u'.') return false;
    }
    return true;
}

// example.com, example.net and example.org are reserved for examples in documentation.
bool isDocumentationName(std::u16string_view host) {
    for (std::string_view name : {"example.com", "example.net", "example.org"}) {
        if (host.size() < name.size()) continue;
        const std::size_t at = host.size() - name.size();
        if ((at == 0 || host[at - 1] == u'.') && equalsIgnoringCase(host.substr(at), name)) {
            return true;
        }
    }
    return false;
}

// Manuals write identifiers in capitals (Q.STAFF, X.ID, FORM.FINAL). A name in capitals is
// taken for an address only in the shape addresses have there: no one-letter label, and a
// country code or one of the first generic domains at its end (AMAZON.COM, BBC.CO.UK).
bool isIdentifierInCapitals(const Host& host) {
    bool upper = false;
    for (char16_t c : host.text) {
        if (c >= u'a' && c <= u'z') return false;
        upper = upper || (c >= u'A' && c <= u'Z');
    }
    if (!upper) return false;
    std::size_t labelStart = 0;
    for (std::size_t i = 0; i <= host.text.size(); ++i) {
        if (i < host.text.size() && host.text[i] != u'.') continue;
        if (i - labelStart == 1) return true;
        labelStart = i + 1;
    }
    const std::u16string_view last = host.last();
    if (last.size() == 2) return false;
    for (std::string_view generic : {"com", "org", "net", "edu", "gov", "int", "mil", "info"}) {
        if (equalsIgnoringCase(last, generic)) return false;
    }
    return true;
}

// A bare domain name that a reader takes for something else: see "What becomes a link" in
// the README.
// portOrPath: the name goes on with a port or a path.
bool isBareNameOfProse(std::u16string_view text, const Host& host, bool portOrPath) {
    return gluesBareName(codePointBefore(text, host.start)) || hasMixedCase(host.last()) ||
           isFormatPattern(host) || isIdentifierInCapitals(host) ||
           (!portOrPath &&
            (isDocumentationName(host.text) || (host.labels == 2 && isFileExtension(host.last()))));
}

// "www." addresses and bare domain names, with an optional port and path.
std::optional<Found> webAddressAt(std::u16string_view text, std::size_t start) {
    const Host host = scanHost(text, start);
    bool www = host.labels >= 2 && equalsIgnoringCase(text.substr(start, 4), "www.");
    if (!endsCleanly(text, host) || (!www && !endsInTopLevelDomain(host))) return std::nullopt;
    std::size_t end = host.end;
    if (end + 1 < text.size() && text[end] == u':' && isAsciiDigit(text[end + 1])) {
        std::size_t port = 0;
        for (end = end + 1; end < text.size() && isAsciiDigit(text[end]); ++end) {
            port = port * 10 + static_cast<std::size_t>(text[end] - u'0');
            if (port > 65535) return std::nullopt;  // no address has such a port
        }
    }
    const bool pathFollows = end < text.size() && isOneOf(text[end], u"/?#");
    if (!www && isBareNameOfProse(text, host, end > host.end || pathFollows)) return std::nullopt;
    if (pathFollows) end = trimTrailing(text, start, skipWhile(text, end, isURLBodyChar), end);
    return Found{end, "http://", host.start, host.end};
}

std::string escapingNonASCII(std::string_view utf8) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(utf8.size());
    for (char byte : utf8) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x80) {
            out += byte;
        } else {
            out += '%';
            out += kHex[value >> 4];
            out += kHex[value & 0xF];
        }
    }
    return out;
}

// The URL of the link text: the host in its IDNA ASCII form, other non-ASCII text percent
// escaped in UTF-8. nullopt when the host breaks the IDNA rules.
std::optional<std::optional<std::string>> urlFor(std::u16string_view text, const Found& found,
                                                 std::size_t start) {
    std::string url(found.prefix);
    if (isAscii(text.substr(start, found.end - start))) {
        for (std::size_t i = start; i < found.end; ++i) url += static_cast<char>(text[i]);
    } else {
        std::u16string_view host = text.substr(found.hostStart, found.hostEnd - found.hostStart);
        std::optional<std::string> asciiHost =
            isAscii(host) ? std::optional(toUTF8(host)) : hostToASCII(host);
        if (!asciiHost) return std::nullopt;
        url += escapingNonASCII(toUTF8(text.substr(start, found.hostStart - start)));
        url += *asciiHost;
        url += escapingNonASCII(toUTF8(text.substr(found.hostEnd, found.end - found.hostEnd)));
    }
    if (auto parsed = parseURL(url)) return parsed;
    return std::optional(parseURL(addingPercentEscapes(url)));
}

bool isAddressChar(char32_t c) { return isLabelChar(c) || isLocalPartChar(c); }

// Every link starts with a run of address characters that holds a dot (a host of two labels or
// more) or is followed by the ":" of a scheme or the "@" of an e-mail address. Most words are
// no such run, and are passed over after one look instead of one per kind of link.
bool mayStartLink(std::u16string_view text, std::size_t start) {
    const std::size_t end = skipWhile(text, start, isAddressChar);
    if (end < text.size() && (text[end] == u':' || text[end] == u'@')) return true;
    return text.substr(start, end - start).find(u'.') != std::u16string_view::npos;
}

std::optional<Found> linkAt(std::u16string_view text, std::size_t start) {
    if (!mayStartLink(text, start)) return std::nullopt;
    if (auto found = schemeLinkAt(text, start)) return found;
    if (auto found = emailAt(text, start)) return found;
    return webAddressAt(text, start);
}

// Whether the line break at n lies inside an address written over two lines. The line must end
// in a character that ends no sentence: after "-" any address text goes on; after "/", "_",
// "=", "&", "#", "~" or "+" the next line's first word must look like address text itself
// (one of "./-_?=&#%~" before its end), so that the first word of an ordinary sentence is
// never joined.
bool joinsLines(std::u16string_view text, std::size_t n) {
    if (n == 0 || n + 1 >= text.size() || !isURLBodyChar(codePointAt(text, n + 1).value)) {
        return false;
    }
    const char16_t last = text[n - 1];
    if (last == u'-') return true;
    if (!isOneOf(last, u"/_=&#~+")) return false;
    const std::size_t wordEnd = skipWhile(text, n + 1, isURLBodyChar);
    for (std::size_t i = n + 1; i + 1 < wordEnd; ++i) {
        if (isOneOf(text[i], u"./-_?=&#%~")) return true;
    }
    return false;
}

// How many units the scan goes between two looks at the stop flag.
constexpr std::size_t kStopPollUnits = 4096;

void appendLinksOfText(std::u16string_view text, const StopFlag& stop,
                       std::vector<TextMatch>& out) {
    std::size_t i = 0, nextPoll = 0;
    while (i < text.size()) {
        if (i >= nextPoll) {
            if (stop.isSet()) return;
            nextPoll = i + kStopPollUnits;
        }
        const CodePoint c = codePointAt(text, i);
        if (!isWordChar(c.value) || gluesToPrevious(codePointBefore(text, i))) {
            i += c.size;
            continue;
        }
        auto found = linkAt(text, i);
        auto url = found ? urlFor(text, *found, i) : std::nullopt;
        if (!url) {
            // No link starts inside the rest of this word or address either.
            i = std::max(skipWhile(text, i, isLocalPartChar), i + c.size);
            continue;
        }
        out.push_back({TextMatch::Kind::Link, i, found->end - i, std::move(*url), {}});
        i = found->end;
    }
}

}  // namespace

void appendLinkMatches(std::u16string_view text, const StopFlag& stop,
                       std::vector<TextMatch>& out) {
    std::vector<std::size_t> joins;  // the line breaks left out, as positions in text
    for (std::size_t n = text.find(u'\n'); n != text.npos; n = text.find(u'\n', n + 1)) {
        if (joinsLines(text, n)) joins.push_back(n);
    }
    if (joins.empty()) return appendLinksOfText(text, stop, out);

    std::u16string joined;
    joined.reserve(text.size());
    std::size_t from = 0;
    for (std::size_t n : joins) {
        joined.append(text.substr(from, n - from));
        from = n + 1;
    }
    joined.append(text.substr(from));
    const std::size_t first = out.size();
    appendLinksOfText(joined, stop, out);
    // Back to positions in text: a unit of joined text lies one further on for every break
    // left out before it.
    auto inText = [&joins](std::size_t j) {
        std::size_t skipped = 0;
        while (skipped < joins.size() && joins[skipped] - skipped <= j) ++skipped;
        return j + skipped;
    };
    for (std::size_t k = first; k < out.size(); ++k) {
        const std::size_t start = inText(out[k].location);
        const std::size_t end = inText(out[k].location + out[k].length - 1) + 1;
        out[k].location = start;
        out[k].length = end - start;
    }
}

}  // namespace platform::detail
