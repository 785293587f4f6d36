// The string tests of link text: schemes, domains, telephone patterns and target clean-up.
#include <array>

#include "platform/ICURegex.h"
#include "text2link/ParsePDFTextLink.h"

namespace text2link {

namespace {

constexpr std::u16string_view kSchumeKeys = u"ftp:|https:|http:|mailto:|file:|tel:";
constexpr std::u16string_view kDomainKeys =
    u"biz|com|edu|gov|info|int|mil|name|net|org|pro|aero|cat|coop|jobs|museum|travel|arpa|"
    u"root|mobi|post|tel|asia|geo|kid|mail|sco|web|xxx|nato|example|invalid|test|bitnet|"
    u"csnet|onion|uucp|ac|ad|ae|af|ag|ai|al|am|an|ao|aq|ar|as|at|au|aw|ax|az|ba|bb|bd|be|"
    u"bf|bg|bh|bi|bj|bm|bn|bo|br|bs|bt|bv|bw|by|bz|ca|cc|cd|cf|cg|ch|ci|ck|cl|cm|cn|co|cr|"
    u"cu|cv|cx|cy|cz|de|dj|dk|dm|do|dz|ec|ee|eg|eh|er|es|et|eu|fi|fj|fk|fm|fo|fr|ga|gb|gd|"
    u"ge|gf|gg|gh|gi|gl|gm|gn|gp|gq|gr|gs|gt|gu|gw|gy|hk|hm|hn|hr|ht|hu|id|ie|il|im|in|io|"
    u"iq|ir|is|it|je|jm|jo|jp|ke|kg|kh|ki|km|kn|kp|kr|kw|ky|kz|la|lb|lc|li|lk|lr|ls|lt|lu|"
    u"lv|ly|ma|mc|md|me|mg|mh|mk|ml|mm|mn|mo|mp|mq|mr|ms|mt|mu|mv|mw|mx|my|mz|na|nc|ne|nf|"
    u"ng|ni|nl|no|np|nr|nu|nz|om|pa|pe|pf|pg|ph|pk|pl|pm|pn|pr|ps|pt|pw|py|qa|re|ro|rs|ru|"
    u"rw|sa|sb|sc|sd|se|sg|sh|si|sj|sk|sl|sm|sn|so|sr|st|su|sv|sy|sz|tc|td|tf|tg|th|tj|tk|"
    u"tl|tm|tn|to|tp|tr|tt|tv|tw|tz|ua|ug|uk|um|us|uy|uz|va|vc|ve|vg|vi|vn|vu|wf|ws|ye|yt|"
    u"yu|za|zm|zw";

std::vector<std::u16string> splitKeys(std::u16string_view literal) {
    std::vector<std::u16string> keys;
    std::size_t start = 0;
    for (std::size_t bar = literal.find(u'|'); bar != literal.npos;
         start = bar + 1, bar = literal.find(u'|', start)) {
        keys.emplace_back(literal.substr(start, bar - start));
    }
    keys.emplace_back(literal.substr(start));
    return keys;
}

bool contains(std::u16string_view text, std::u16string_view part) {
    return text.find(part) != text.npos;
}

bool isAsciiDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool isAsciiLetterOrDigit(char16_t c) {
    return isAsciiDigit(c) || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

// "!" to "z" without the characters that never stand unescaped in a URL.
bool isURLCharacter(char16_t c) {
    if (c < 0x21 || c > 0x7A) return false;
    return std::u16string_view(u"#%<>[\\]^`").find(c) == std::u16string_view::npos;
}

// ICU semantics: in "[ ,-_]" the ",-_" is the range from "," to "_", and "[4,8]" admits the
// comma. Compiled once per process; a pattern that failed to compile matches nothing.
const std::array<std::optional<platform::Regex>, 3>& phonePatterns() {
    static const std::array<std::optional<platform::Regex>, 3> patterns = [] {
        std::array<std::u16string_view, 3> sources = {
            uR"re(^(([\+]?[(]?\d{2}[)]?[ ,-_]?)?1(\d{10})))re",
            uR"re(^(([\+]?[(]?\d{2}[)]?[ ,-_]?)?(0\d{2,3}[ ,-_]?)?(\d{7,8}([ ,-_]?\d{3,4})?)))re",
            uR"re(^([+]?([4,8]00)[ ,-_]?([0-9]{5,8})))re",
        };
        std::array<std::optional<platform::Regex>, 3> compiled;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            auto regex = platform::Regex::compile(sources[i]);
            if (regex) compiled[i].emplace(std::move(regex).value());
        }
        return compiled;
    }();
    return patterns;
}

}  // namespace

ParsePDFTextLink::ParsePDFTextLink()
    : schumeKeys(splitKeys(kSchumeKeys)), domainKeys(splitKeys(kDomainKeys)) {}

bool ParsePDFTextLink::hasSchume(std::u16string_view text) const {
    for (const auto& key : schumeKeys) {
        if (contains(text, key)) return true;
    }
    return false;
}

bool ParsePDFTextLink::isURLString(std::u16string_view text) const {
    if (hasSchume(text)) return true;
    std::size_t www = text.find(u"www.");
    if (www == 0) return true;
    if (www != text.npos && !isAsciiLetterOrDigit(text[www - 1])) return true;
    std::u16string dotted;
    for (const auto& key : domainKeys) {
        dotted.assign(u".").append(key);
        if (contains(text, dotted)) return true;
    }
    return false;
}

bool ParsePDFTextLink::isPhoneNumber(std::u16string_view text) const {
    for (const auto& pattern : phonePatterns()) {
        if (pattern && pattern->matchesWhole(text)) return true;
    }
    return false;
}

std::optional<std::u16string> ParsePDFTextLink::fixPhoneString(std::u16string_view text) const {
    std::size_t tel = text.find(u"tel:");
    if (tel != text.npos) {
        std::size_t end = tel + 4;
        if (end >= text.size()) return std::nullopt;
        text = text.substr(end);
    }
    std::u16string result = u"tel:";
    for (char16_t c : text) {
        if (isAsciiDigit(c)) result += c;
    }
    if (result.size() == 4) return std::nullopt;
    return result;
}

std::u16string ParsePDFTextLink::fixURLString(std::u16string_view text) const {
    std::u16string_view result = text;
    for (const auto& key : schumeKeys) {
        std::size_t at = text.find(key);
        if (at != text.npos && at > 0) result = text.substr(at);
    }
    std::size_t www = text.find(u"www.");
    if (www != text.npos && www > 0 && text[www - 1] != u'/' && text[www - 1] != u':') {
        // The position is found in the whole text but applied to the text already cut at its
        // scheme; past its end nothing is left.
        result = www <= result.size() ? result.substr(www) : std::u16string_view();
    }
    std::size_t run = 0;
    while (run < result.size() && isURLCharacter(result[run])) ++run;
    return std::u16string(result.substr(0, run));
}

}  // namespace text2link
