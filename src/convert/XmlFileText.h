#pragma once
// The text of one XML file whose root holds a long list of like elements: the elements are kept
// as their compact text in blocks, not as a tree, so a page with a great many links holds about
// what its file will hold, and the file is written piece by piece without being put together.

#include <string>
#include <string_view>
#include <vector>

#include "platform/AtomicFile.h"
#include "platform/PugiXML.h"

namespace convert {

class XmlFileText {
public:
    // The document's compact text with the elements going into list, an empty element of it
    // (the root itself, or its last element of that name).
    XmlFileText(const platform::XmlDocument& document, const platform::XmlNode& list);

    // Appends one element's compact text to the list.
    void append(std::string_view element);
    // Appends the compact text of an element of a tree to the list.
    void append(const platform::XmlNode& element);

    // Hands the whole text to out; false once out refuses a piece.
    bool writeTo(const platform::ByteSink& out) const;

private:
    // The block the next element goes to: the last one, unless it holds kBlockSize bytes or
    // would with more bytes.
    std::string& blockFor(std::size_t more);

    std::string head_;  // up to the list's start tag, inclusive
    std::string tail_;  // from the list's end tag on
    std::vector<std::string> blocks_;
};

}  // namespace convert
