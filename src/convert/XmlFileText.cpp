#include "convert/XmlFileText.h"

#include <algorithm>

namespace convert {
namespace {

// Big enough that writing costs one call per block, small enough that the last block's spare
// room stays a small part of a big file.
constexpr std::size_t kBlockSize = 64 * 1024;
// What a new block holds before it first grows: most pages' files are a kilobyte or two, and
// a block of the full size for each would be memory taken and given back for nothing.
constexpr std::size_t kFirstReserve = 2 * 1024;

}  // namespace

XmlFileText::XmlFileText(const platform::XmlDocument& document, const platform::XmlNode& list) {
    std::string text = document.toCompactString();
    // An empty element prints as its start tag followed by its end tag, and nothing after the
    // list's end tag can be another end tag of its name.
    std::size_t end = text.rfind("</" + list.name() + ">");
    if (end == std::string::npos) end = text.size();
    head_ = text.substr(0, end);
    tail_ = text.substr(end);
}

std::string& XmlFileText::blockFor(std::size_t more) {
    if (blocks_.empty() || blocks_.back().size() + more > kBlockSize) {
        blocks_.emplace_back();
        blocks_.back().reserve(std::max(kFirstReserve, more));
    }
    return blocks_.back();
}

void XmlFileText::append(std::string_view element) { blockFor(element.size()).append(element); }

// The element's size is known only once it is printed: a full block takes no more, and one
// that an element makes grow past the size just grows.
void XmlFileText::append(const platform::XmlNode& element) {
    element.appendCompactString(blockFor(1));
}

bool XmlFileText::writeTo(const platform::ByteSink& out) const {
    if (!out(head_)) return false;
    for (const std::string& block : blocks_) {
        if (!out(block)) return false;
    }
    return out(tail_);
}

}  // namespace convert
