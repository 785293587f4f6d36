// Scanning one page's text for links, and dropping new links that repeat an existing one.
#include <algorithm>

#include "platform/DataDetector.h"
#include "platform/ICUText.h"
#include "platform/URIParser.h"
#include "text2link/ParsePDFTextLink.h"

namespace text2link {

namespace {

using platform::Annotation;
using platform::TextRange;

std::u16string_view textIn(const platform::PageText& page, TextRange range) {
    return std::u16string_view(page.text).substr(range.location, range.length);
}

Annotation makeLink(const platform::PageText& page, TextRange range,
                    std::optional<std::string> url) {
    Annotation link;
    link.type = "Link";
    link.bounds = page.boundsOfRange(range.location, range.length);
    // Text over several lines is clickable line by line, not over the whole rectangle.
    if (textIn(page, range).find(u'\n') != std::u16string_view::npos) {
        link.lines = page.lineBoundsOfRange(range.location, range.length);
        if (link.lines.size() < 2) link.lines.clear();
    }
    link.url = std::move(url);
    return link;
}

std::optional<std::string> parseEscapedURL(std::u16string_view text) {
    return platform::parseURL(platform::addingPercentEscapes(platform::toUTF8(text)));
}

std::optional<std::string> parseURLText(const std::optional<std::u16string>& text) {
    if (!text) return std::nullopt;
    return platform::parseURL(platform::toUTF8(*text));
}

std::optional<std::string> hostOf(const Annotation& link) {
    if (!link.url) return std::nullopt;
    return platform::hostOfURL(*link.url);
}

bool overlaps(const platform::Rect& a, const platform::Rect& b) {
    return platform::containsRect(b, a) || platform::containsRect(a, b) ||
           platform::containsPoint(a, b.centre()) || platform::containsPoint(b, a.centre());
}

}  // namespace

void ParsePDFTextLink::parsePage(const platform::Document& document, int pageIndex,
                                 std::vector<Annotation>& list,
                                 const platform::StopFlag& stop) const {
    std::optional<platform::PageText> page = readPageText(document, pageIndex, stop);
    if (page) parsePageText(*page, list, stop);
}

void ParsePDFTextLink::parsePageText(const platform::PageText& page, std::vector<Annotation>& list,
                                     const platform::StopFlag& stop) const {
    if (page.text.empty()) return;
    const std::size_t first = list.size();
    if (useDataDetector) {
        parsePageWithDetector(page, list, stop);
    } else {
        parsePageByIndex(page, list, stop);
    }
    // Finds in text outside the crop box would be links nobody can see or click.
    list.erase(
        std::remove_if(list.begin() + static_cast<std::ptrdiff_t>(first), list.end(),
                       [&page](const Annotation& link) { return !page.isVisible(link.bounds); }),
        list.end());
}

void ParsePDFTextLink::parsePageWithDetector(const platform::PageText& page,
                                             std::vector<Annotation>& list,
                                             const platform::StopFlag& stop) const {
    // Both kinds are always detected so that a number inside an address is never taken alone.
    const platform::URLFinder finder(platform::findMatches(
        page.text, platform::kDetectLinks | platform::kDetectPhoneNumbers, stop));
    for (const platform::TextMatch& match : finder.matches()) {
        if (stop.isSet()) return;
        const TextRange found{match.location, match.length};
        if (match.kind == platform::TextMatch::Kind::Link) {
            if (!(parseType & 1)) continue;
            std::optional<std::string> url = match.url;
            const platform::TextMatch* around = finder.matchAtIndex(found.location);
            TextRange range = around ? TextRange{around->location, around->length} : found;
            if (range.length != found.length)
                url = platform::parseURL(platform::toUTF8(textIn(page, range)));
            if (!url) url = parseEscapedURL(textIn(page, range));
            list.push_back(makeLink(page, range, std::move(url)));
        } else {
            if (!(parseType & 2) || match.phoneNumber.empty()) continue;
            std::u16string number = platform::toUTF16(match.phoneNumber);
            if (!isPhoneNumber(number)) continue;
            if (number.find(u"tel:") == number.npos) number.insert(0, u"tel:");
            std::optional<std::string> url = platform::parseURL(platform::toUTF8(number));
            if (!url) url = parseURLText(fixPhoneString(number));
            list.push_back(makeLink(page, found, std::move(url)));
        }
    }
}

void ParsePDFTextLink::parsePageByIndex(const platform::PageText& page,
                                        std::vector<Annotation>& list,
                                        const platform::StopFlag& stop) const {
    const std::u16string& text = page.text;
    const platform::URLFinder finder = platform::URLFinder::forText(text, stop);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (stop.isSet()) return;
        const platform::TextMatch* around = finder.matchAtIndex(i);
        if (!around || around->length == 0) continue;
        const TextRange range{around->location, around->length};
        const std::u16string_view candidate = textIn(page, range);
        if (isURLString(candidate)) {
            if (!(parseType & 1)) continue;
            std::u16string target(candidate);
            if (!hasSchume(candidate) && target.find(u'@') != target.npos &&
                target.find(u':') == target.npos) {
                target.insert(0, u"mailto:");
            }
            auto url = platform::parseURL(platform::toUTF8(fixURLString(target)));
            if (!url) url = parseEscapedURL(target);
            list.push_back(makeLink(page, range, std::move(url)));
        } else if (isPhoneNumber(candidate)) {
            if (!(parseType & 2)) continue;
            auto url = parseURLText(fixPhoneString(candidate));
            if (!url) url = parseEscapedURL(candidate);
            list.push_back(makeLink(page, range, std::move(url)));
        }
        // The character just after an examined range is skipped as well.
        if (range.end() < text.size()) i = range.end();
    }
}

bool ParsePDFTextLink::checkRemoveAnnoFrom(std::vector<Annotation>& list, std::int64_t index,
                                           const std::vector<Annotation>& checkList,
                                           const platform::StopFlag& stop) {
    if (index < 0 || static_cast<std::uint64_t>(index) >= list.size()) return false;
    const auto position = static_cast<std::size_t>(index);
    if (checkList.empty()) return false;
    const std::optional<std::string> host = hostOf(list[position]);
    if (!host) return false;
    for (const Annotation& existing : checkList) {
        if (stop.isSet()) return false;
        // The rectangles first: parsing the existing link's address costs far more.
        if (!overlaps(list[position].bounds, existing.bounds)) continue;
        const std::optional<std::string> existingHost = hostOf(existing);
        if (!existingHost) continue;
        if (existingHost->find(*host) != std::string::npos ||
            host->find(*existingHost) != std::string::npos) {
            list.erase(list.begin() + static_cast<std::ptrdiff_t>(position));
            return true;
        }
    }
    return false;
}

}  // namespace text2link
