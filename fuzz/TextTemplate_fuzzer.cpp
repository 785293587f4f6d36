// TextTemplate on arbitrary templates and items, compared with a plain reading of its rules
// written separately here: literal text up to the next "${", the key up to the next "}" (or the
// end), the item's value or nothing in its place, nothing skipped and nothing substituted twice.
// Literal text that runs to the end leaves an empty key, so an item set under the empty key is
// appended there. A second parse after one more item must reflect that item.
//
// Input: the template, then NUL-separated key and value pieces.

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "convert/TextTemplate.h"

namespace {

std::string expectedText(std::string_view text, const std::map<std::string, std::string>& items) {
    std::string out;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t open = std::min(text.find("${", at), text.size());
        out.append(text.substr(at, open - at));
        at = open == text.size() ? open : open + 2;
        // Also after literal text that ran to the end: the key is then empty, and an item set
        // under the empty key is appended.
        std::size_t close = std::min(text.find('}', at), text.size());
        auto item = items.find(std::string(text.substr(at, close - at)));
        if (item != items.end()) out += item->second;
        at = close == text.size() ? close : close + 1;
    }
    return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzsupport::InputReader input(data, size);
    const std::string text(input.textUpTo('\0'));
    std::map<std::string, std::string> items;
    convert::TextTemplate filled(text);
    while (!input.atEnd()) {
        std::string key(input.textUpTo('\0'));
        std::string value(input.textUpTo('\0'));
        items[key] = value;
        filled.setItem(key, value);
    }
    FUZZ_CHECK(filled.parse() == expectedText(text, items));

    // The second parse starts afresh and sees the item added since.
    items["x"] = "${x}";
    filled.setItem("x", "${x}");
    FUZZ_CHECK(filled.parse() == expectedText(text, items));

    convert::TextTemplate empty(std::nullopt);
    FUZZ_CHECK(empty.parse().empty());
    return 0;
}
