#pragma once
// Page selection for both jobs: the range text of the settings against the document's page count.

#include <cstdint>
#include <set>
#include <string>

namespace frontend {

// One-based page numbers, ascending, each from 1 to pageCount. The text is "ALL" in any letter
// case, or items separated by "," that are a page number or a span "first-last". Malformed items
// (an empty piece, a span starting at 0, more than one "-", a reversed span) add nothing; pages
// past pageCount are dropped. An empty text, or a page count of 0 or less, gives an empty set.
std::set<std::int64_t> parsePageRange(const std::string& range, std::int64_t pageCount);

// Only the characters "0" to "9" of text, in their order.
std::string numberStringFilter(const std::string& text);

}  // namespace frontend
