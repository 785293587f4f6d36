#include "platform/DataDetector.h"

#include <algorithm>
#include <iterator>

#include "platform/DataDetectorScan.h"

namespace platform {

namespace {

std::size_t endOf(const TextMatch& match) { return match.location + match.length; }

// Links win over telephone numbers that share text with them (digits in a path or an
// address); both lists come ordered by location.
std::vector<TextMatch> merge(std::vector<TextMatch> links, std::vector<TextMatch> phones) {
    std::vector<TextMatch> merged;
    merged.reserve(links.size() + phones.size());
    auto link = links.begin();
    for (TextMatch& phone : phones) {
        while (link != links.end() && endOf(*link) <= phone.location) {
            merged.push_back(std::move(*link++));
        }
        bool overlaps = link != links.end() && link->location < endOf(phone);
        if (!overlaps) merged.push_back(std::move(phone));
    }
    std::move(link, links.end(), std::back_inserter(merged));
    return merged;
}

}  // namespace

std::vector<TextMatch> findMatches(std::u16string_view text, unsigned types, const StopFlag& stop) {
    std::vector<TextMatch> links;
    std::vector<TextMatch> phones;
    if (types & kDetectLinks) detail::appendLinkMatches(text, stop, links);
    if (types & kDetectPhoneNumbers) detail::appendPhoneMatches(text, stop, phones);
    return merge(std::move(links), std::move(phones));
}

URLFinder::URLFinder(std::vector<TextMatch> matches) : matches_(std::move(matches)) {}

URLFinder URLFinder::forText(std::u16string_view text, const StopFlag& stop) {
    return URLFinder(findMatches(text, kDetectLinks | kDetectPhoneNumbers, stop));
}

const TextMatch* URLFinder::matchAtIndex(std::size_t index) const {
    // The first match that ends after the index is the only one that can contain it.
    auto it = std::upper_bound(matches_.begin(), matches_.end(), index,
                               [](std::size_t i, const TextMatch& m) { return i < endOf(m); });
    if (it == matches_.end() || it->location > index) return nullptr;
    return &*it;
}

}  // namespace platform
