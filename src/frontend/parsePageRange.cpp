#include "frontend/parsePageRange.h"

#include <algorithm>
#include <iterator>

#include "frontend/splitText.h"
#include "platform/NumberText.h"

namespace frontend {
namespace {

bool isAll(const std::string& text) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
    return text.size() == 3 && upper(text[0]) == 'A' && upper(text[1]) == 'L' &&
           upper(text[2]) == 'L';
}

// Pages past the end are never added: the same set as adding them and removing them afterwards,
// without building a huge set for a span such as 1-9999999999.
void addPages(std::set<std::int64_t>& pages, std::int64_t first, std::int64_t last,
              std::int64_t pageCount) {
    const std::int64_t end = std::min(last, pageCount);
    for (std::int64_t page = first; page <= end; ++page) {
        pages.insert(page);
        if (page == end) break;  // no step past the largest 64-bit number
    }
}

void addSpan(std::set<std::int64_t>& pages, const std::string& item, std::int64_t pageCount) {
    const std::vector<std::string> pieces = splitText(item, '-');
    if (pieces.size() != 2) return;
    const std::string first = numberStringFilter(pieces[0]);
    if (first.empty() || platform::intValue(first) == 0) return;
    const std::string last = numberStringFilter(pieces[1]);
    if (last.empty()) return;
    addPages(pages, platform::integerValue(first), platform::integerValue(last), pageCount);
}

}  // namespace

std::set<std::int64_t> parsePageRange(const std::string& range, std::int64_t pageCount) {
    std::set<std::int64_t> pages;
    if (isAll(range)) {
        addPages(pages, 1, pageCount, pageCount);
        return pages;
    }
    for (const std::string& item : splitText(range, ',')) {
        if (item.find('-') != std::string::npos) {
            addSpan(pages, item, pageCount);
        } else if (const std::int32_t page = platform::intValue(item); page != 0) {
            // A single number is converted unfiltered: blanks and "+" before it are taken.
            addPages(pages, page, page, pageCount);
        }
    }
    return pages;
}

std::string numberStringFilter(const std::string& text) {
    std::string digits;
    std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
                 [](char c) { return c >= '0' && c <= '9'; });
    return digits;
}

}  // namespace frontend
