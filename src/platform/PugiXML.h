#pragma once
// A small XML element tree for the files the host's editors read. An XmlDocument owns one tree;
// XmlNode is a non-owning handle into it that stays valid while its document lives and the node
// is not removed. A null handle (from a failed lookup) answers every read with an empty value
// and ignores every change, so lookups can be chained without checks.
//
// Serialisation is the root element's compact text: no declaration, no indentation, no line
// breaks, UTF-8, attributes in the order they were added, empty elements written as
// <name></name>, CDATA sections kept as CDATA. Text set through a handle keeps only what XML 1.0
// can hold (see isXmlText), so whatever is written parses again.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// Well-formed UTF-8: shortest forms, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view text);
// Valid UTF-8 of characters XML 1.0 allows (tab, line feed, carriage return, U+0020-U+D7FF,
// U+E000-U+FFFD, U+10000 and above).
bool isXmlText(std::string_view text);

class XmlNode {
public:
    XmlNode() = default;
    explicit XmlNode(void* node) : node_(node) {}

    bool isNull() const { return node_ == nullptr; }
    explicit operator bool() const { return !isNull(); }
    bool operator==(const XmlNode&) const = default;

    std::string name() const;
    // The concatenated text and CDATA of the element and all its descendants.
    std::string text() const;
    // Replaces every child of the element by one text node. Bytes and characters XML cannot
    // hold are left out, here and in setAttribute and appendCData.
    void setText(std::string_view text);

    // Sets an attribute; a new one goes after the existing ones, an existing one keeps its place.
    void setAttribute(std::string_view name, std::string_view value);
    std::optional<std::string> attribute(std::string_view name) const;

    // Child elements in document order: all of them, or those with the given name.
    std::vector<XmlNode> children() const;
    std::vector<XmlNode> children(std::string_view name) const;
    XmlNode firstChild(std::string_view name) const;  // null when there is none
    XmlNode lastChild(std::string_view name) const;   // null when there is none

    XmlNode appendChild(std::string_view name);  // a new, empty element after the last child
    void appendCData(std::string_view text);     // a "]]>" inside is split over two sections

    // The element's compact text (see above); empty for a null handle.
    std::string toCompactString() const;
    // The same text appended to out, which saves a copy when out collects many elements.
    void appendCompactString(std::string& out) const;

private:
    void* node_ = nullptr;
};

class XmlDocument {
public:
    XmlDocument();  // an empty document without root
    XmlDocument(XmlDocument&&) noexcept;
    XmlDocument& operator=(XmlDocument&&) noexcept;
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;
    ~XmlDocument();

    // Parses text holding exactly one root element (an XML declaration, comments and blank text
    // around it are allowed). Not well-formed text, or text with no or several root elements,
    // gives std::nullopt.
    static std::optional<XmlDocument> parse(const std::string& text);

    XmlNode root() const;  // null when the document has no root element
    // Makes a new root element; an existing root and everything else are removed first.
    XmlNode appendRoot(std::string_view name);

    std::string toCompactString() const { return root().toCompactString(); }

private:
    struct Members;
    std::unique_ptr<Members> m_;
};

}  // namespace platform
