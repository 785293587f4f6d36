// The link text tests and the data detector on arbitrary 16-bit text (unpaired surrogates
// included), then the page scan of both paths over that text laid out as one line of boxes,
// and the duplicate test of its finds against themselves.
//
// Input: the text as 16-bit units, little-endian. Properties checked: the clean-ups give what
// they promise, matches are ordered, disjoint and inside the text, the finder answers for every
// index of a match, and a removal shortens the list by exactly one.

#include <cstdint>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "platform/DataDetector.h"
#include "text2link/ParsePDFTextLink.h"

namespace {

bool isURLCharacter(char16_t c) {
    return c >= 0x21 && c <= 0x7A &&
           std::u16string_view(u"#%<>[\\]^`").find(c) == std::u16string_view::npos;
}

void checkTextTests(const text2link::ParsePDFTextLink& tests, const std::u16string& text) {
    const bool schume = tests.hasSchume(text);
    FUZZ_CHECK(!schume || tests.isURLString(text));
    tests.isPhoneNumber(text);

    const std::u16string url = tests.fixURLString(text);
    FUZZ_CHECK(text.find(url) != std::u16string::npos);
    for (char16_t c : url) FUZZ_CHECK(isURLCharacter(c));

    if (const std::optional<std::u16string> phone = tests.fixPhoneString(text)) {
        FUZZ_CHECK(phone->size() > 4 && phone->compare(0, 4, u"tel:") == 0);
        for (std::size_t k = 4; k < phone->size(); ++k) {
            FUZZ_CHECK((*phone)[k] >= u'0' && (*phone)[k] <= u'9');
        }
    }
}

void checkMatches(const std::u16string& text) {
    const platform::URLFinder finder = platform::URLFinder::forText(text);
    std::size_t end = 0;
    for (const platform::TextMatch& match : finder.matches()) {
        FUZZ_CHECK(match.length > 0);
        FUZZ_CHECK(match.location >= end);
        FUZZ_CHECK(match.location + match.length <= text.size());
        end = match.location + match.length;
        FUZZ_CHECK(finder.matchAtIndex(match.location) == &match);
        FUZZ_CHECK(finder.matchAtIndex(end - 1) == &match);
    }
}

// One line of text, every unit in a box of its own.
platform::PageText lineOf(const std::u16string& text) {
    platform::PageText page;
    page.text = text;
    for (std::size_t k = 0; k < text.size(); ++k) {
        page.boxes.push_back(platform::Rect{72.0 + 6.0 * static_cast<double>(k % 80),
                                            700.0 - 14.0 * static_cast<double>(k / 80), 6.0, 12.0});
    }
    return page;
}

void checkScan(text2link::ParsePDFTextLink& scanner, const std::u16string& text) {
    const platform::PageText page = lineOf(text);
    const platform::NeverStop never;
    for (bool detector : {true, false}) {
        scanner.useDataDetector = detector;
        std::vector<platform::Annotation> found;
        scanner.parsePageText(page, found, never);
        for (const platform::Annotation& link : found) FUZZ_CHECK(link.type == "Link");

        const std::vector<platform::Annotation> existing = found;
        for (std::int64_t k = static_cast<std::int64_t>(found.size()); k >= -1; --k) {
            const std::size_t before = found.size();
            const bool removed =
                text2link::ParsePDFTextLink::checkRemoveAnnoFrom(found, k, existing, never);
            FUZZ_CHECK(found.size() == (removed ? before - 1 : before));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The detector's cost grows with the text; a page holds a few thousand units.
    if (size > 16384) return 0;
    static text2link::ParsePDFTextLink scanner;
    const std::u16string text = fuzzsupport::toUnits(data, size);
    checkTextTests(scanner, text);
    checkMatches(text);
    scanner.parseType = 3;
    checkScan(scanner, text);
    return 0;
}
