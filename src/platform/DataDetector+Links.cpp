// The link scanner. It looks at each unit a bounded number of times and allocates only for the
// matches it reports, so whole books scan quickly.
#include <array>
#include <optional>
#include <string>

#include "platform/DataDetectorScan.h"
#include "platform/PublicSuffix.h"
#include "platform/URIParser.h"

namespace platform::detail {

namespace {

bool isAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isAsciiAlnum(char16_t c) { return isAsciiLetter(c) || isAsciiDigit(c); }
bool isOneOf(char16_t c, std::u16string_view set) { return set.find(c) != set.npos; }

bool isLabelChar(char16_t c) { return isAsciiAlnum(c) || c == u'-'; }
bool isLocalPartChar(char16_t c) { return isAsciiAlnum(c) || isOneOf(c, u"._%+-"); }
// What a link may contain after its host: printable ASCII but the characters that never
// appear unescaped in a URL.
bool isURLBodyChar(char16_t c) { return c > 0x20 && c < 0x7F && !isOneOf(c, u"<>\"{}|\\^`"); }
// A link never starts right after these: it would be the tail of a word or an address.
bool gluesToPrevious(char16_t c) { return isAsciiAlnum(c) || c == u'@'; }

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
    std::size_t end = 0;
    int labels = 0;
    std::u16string_view lastLabel;
};

// Dot-separated labels from start; a dot not followed by a label is not part of the host.
Host scanHost(std::u16string_view text, std::size_t start) {
    Host host{start, 0, {}};
    std::size_t i = start;
    while (i < text.size() && isLabelChar(text[i])) {
        std::size_t labelStart = i;
        while (i < text.size() && isLabelChar(text[i])) ++i;
        host.end = i;
        host.lastLabel = text.substr(labelStart, i - labelStart);
        ++host.labels;
        if (i + 1 >= text.size() || text[i] != u'.' || !isLabelChar(text[i + 1])) break;
        ++i;
    }
    return host;
}

bool endsInTopLevelDomain(const Host& host) {
    if (host.labels < 2 || host.lastLabel.size() > 63) return false;
    std::array<char, 63> label{};
    for (std::size_t i = 0; i < host.lastLabel.size(); ++i) {
        label[i] = static_cast<char>(host.lastLabel[i]);  // label characters are ASCII
    }
    return isTopLevelDomain(std::string_view(label.data(), host.lastLabel.size()));
}

std::size_t skipWhile(std::u16string_view text, std::size_t i, bool (*accept)(char16_t)) {
    while (i < text.size() && accept(text[i])) ++i;
    return i;
}

// Drops trailing sentence punctuation and closing brackets that close nothing in the link,
// never cutting below minEnd.
std::size_t trimTrailing(std::u16string_view text, std::size_t start, std::size_t end,
                         std::size_t minEnd) {
    static constexpr std::u16string_view kOpen = u"([{", kClose = u")]}";
    while (end > minEnd) {
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
};

std::optional<Found> emailAt(std::u16string_view text, std::size_t start) {
    std::size_t at = skipWhile(text, start, isLocalPartChar);
    if (at == start || at >= text.size() || text[at] != u'@') return std::nullopt;
    Host domain = scanHost(text, at + 1);
    if (!endsInTopLevelDomain(domain)) return std::nullopt;
    return Found{domain.end, "mailto:"};
}

std::optional<Found> schemeLinkAt(std::u16string_view text, std::size_t start) {
    std::size_t colon = skipWhile(text, start, isAsciiLetter);
    if (colon >= text.size() || text[colon] != u':') return std::nullopt;
    std::u16string_view scheme = text.substr(start, colon - start);
    if (equalsIgnoringCase(scheme, "mailto")) {
        auto email = emailAt(text, colon + 1);
        if (email) email->prefix = "";
        return email;
    }
    bool known = false;
    for (std::string_view name : {"http", "https", "ftp", "file"}) {
        known = known || equalsIgnoringCase(scheme, name);
    }
    std::size_t body = colon + 3;
    if (!known || text.substr(colon, 3) != u"://" || body >= text.size()) return std::nullopt;
    if (!isAsciiAlnum(text[body]) && text[body] != u'/' && text[body] != u'[') return std::nullopt;
    std::size_t end = skipWhile(text, body, isURLBodyChar);
    return Found{trimTrailing(text, start, end, body + 1), ""};
}

// "www." addresses and bare domain names, with an optional port and path.
std::optional<Found> webAddressAt(std::u16string_view text, std::size_t start) {
    Host host = scanHost(text, start);
    bool www = host.labels >= 2 && equalsIgnoringCase(text.substr(start, 4), "www.");
    if (!www && !endsInTopLevelDomain(host)) return std::nullopt;
    std::size_t end = host.end;
    if (end + 1 < text.size() && text[end] == u':' && isAsciiDigit(text[end + 1])) {
        end = skipWhile(text, end + 1, isAsciiDigit);
    }
    if (end < text.size() && isOneOf(text[end], u"/?#")) {
        end = trimTrailing(text, start, skipWhile(text, end, isURLBodyChar), end);
    }
    return Found{end, "http://"};
}

std::optional<std::string> urlFor(std::u16string_view linkText, const char* prefix) {
    std::string url(prefix);
    url.reserve(url.size() + linkText.size());
    for (char16_t c : linkText) url += static_cast<char>(c);  // links are ASCII
    if (auto parsed = parseURL(url)) return parsed;
    return parseURL(addingPercentEscapes(url));
}

std::optional<Found> linkAt(std::u16string_view text, std::size_t start) {
    if (auto found = schemeLinkAt(text, start)) return found;
    if (auto found = emailAt(text, start)) return found;
    return webAddressAt(text, start);
}

}  // namespace

void appendLinkMatches(std::u16string_view text, std::vector<TextMatch>& out) {
    std::size_t i = 0;
    while (i < text.size()) {
        if (!isAsciiAlnum(text[i]) || (i > 0 && gluesToPrevious(text[i - 1]))) {
            ++i;
            continue;
        }
        auto found = linkAt(text, i);
        if (!found) {
            // No link starts inside the rest of this word or address either.
            i = skipWhile(text, i, isLocalPartChar);
            continue;
        }
        std::u16string_view linkText = text.substr(i, found->end - i);
        out.push_back(
            {TextMatch::Kind::Link, i, linkText.size(), urlFor(linkText, found->prefix), {}});
        i = found->end;
    }
}

}  // namespace platform::detail
