// parsePageRange on arbitrary range texts and page counts, compared with a plain reading of the
// rules written separately here: "ALL" in any case, else items split on "," (empty pieces
// kept), spans split on "-" into exactly two pieces filtered to their digits, single numbers
// converted unfiltered, and everything past the page count dropped.
//
// Input: two bytes of page count (little-endian, minus 2, so -2 to 65533), then the range text.

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "frontend/parsePageRange.h"
#include "platform/NumberText.h"

namespace {

std::vector<std::string_view> pieces(std::string_view text, char separator) {
    std::vector<std::string_view> result;
    while (true) {
        std::size_t at = text.find(separator);
        result.push_back(text.substr(0, at));
        if (at == std::string_view::npos) return result;
        text.remove_prefix(at + 1);
    }
}

std::string digitsOf(std::string_view text) {
    std::string digits;
    for (char c : text) {
        if (static_cast<unsigned char>(c) - 48u < 10u) digits += c;
    }
    return digits;
}

bool isAll(std::string_view text) {
    std::string upper(text);
    for (char& c : upper) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return upper == "ALL";
}

// Pages past the count are left out while adding: the same set as adding and clamping after.
void addSpan(std::set<std::int64_t>& pages, std::int64_t first, std::int64_t last,
             std::int64_t count) {
    for (std::int64_t page = first; page <= last && page <= count; ++page) pages.insert(page);
}

std::set<std::int64_t> expectedPages(std::string_view text, std::int64_t count) {
    std::set<std::int64_t> pages;
    if (isAll(text)) {
        addSpan(pages, 1, count, count);
        return pages;
    }
    for (std::string_view item : pieces(text, ',')) {
        if (item.find('-') == std::string_view::npos) {
            std::int64_t page = platform::intValue(item);
            if (page != 0) addSpan(pages, page, page, count);
            continue;
        }
        std::vector<std::string_view> ends = pieces(item, '-');
        if (ends.size() != 2) continue;
        std::string first = digitsOf(ends[0]);
        std::string last = digitsOf(ends[1]);
        if (first.empty() || platform::intValue(first) == 0 || last.empty()) continue;
        addSpan(pages, platform::integerValue(first), platform::integerValue(last), count);
    }
    return pages;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzsupport::InputReader input(data, size);
    const std::int64_t count = (input.byte() | (input.byte() << 8)) - 2;
    const std::string text(input.rest());

    const std::set<std::int64_t> pages = frontend::parsePageRange(text, count);
    for (std::int64_t page : pages) FUZZ_CHECK(page >= 1 && page <= count);
    FUZZ_CHECK(pages == expectedPages(text, count));
    FUZZ_CHECK(frontend::numberStringFilter(text) == digitsOf(text));
    return 0;
}
