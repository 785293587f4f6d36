#include "platform/PugiXML.h"

#include <algorithm>
#include <cstdlib>
#include <pugixml.hpp>

#include "platform/OutOfMemory.h"

namespace platform {

namespace {

// The tree answers a refused allocation with a missing node; the refusal is noted for the job.
void* notedAllocate(std::size_t size) {
    void* block = std::malloc(size);
    if (block == nullptr) noteRefusedMemory(size);
    return block;
}

const bool kAllocationsNoted = [] {
    pugi::set_memory_management_functions(notedAllocate, std::free);
    return true;
}();

pugi::xml_node nodeOf(void* node) {
    return pugi::xml_node(static_cast<pugi::xml_node_struct*>(node));
}

XmlNode handleOf(pugi::xml_node node) { return XmlNode(node.internal_object()); }

std::string asString(std::string_view text) { return std::string(text); }

// Length of the well-formed UTF-8 sequence at text[at] and its code point; length 0 when the
// bytes there are not one.
struct Decoded {
    std::size_t length = 0;
    char32_t code = 0;
};

Decoded decodeAt(std::string_view text, std::size_t at) {
    auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) return {1, lead};
    std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || at + length > text.size()) return {};
    char32_t code = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        auto next = static_cast<unsigned char>(text[at + k]);
        if ((next & 0xC0) != 0x80) return {};
        code = (code << 6) | (next & 0x3F);
    }
    static constexpr char32_t shortest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < shortest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return {};
    return {length, code};
}

bool isXmlChar(char32_t code) {
    return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
           (code >= 0xE000 && code <= 0xFFFD) || code >= 0x10000;
}

// Printable ASCII, tabs and line breaks: what nearly every value is, checked cheaply.
bool isPlainText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
        auto byte = static_cast<unsigned char>(c);
        return (byte >= 0x20 && byte < 0x80) || byte == 0x9 || byte == 0xA || byte == 0xD;
    });
}

// The text without what XML cannot hold (see isXmlText); a bad byte is dropped on its own.
std::string xmlSafe(std::string_view text) {
    if (isPlainText(text)) return std::string(text);
    std::string safe;
    safe.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        Decoded decoded = decodeAt(text, at);
        if (decoded.length == 0) {
            ++at;
            continue;
        }
        if (isXmlChar(decoded.code)) safe.append(text.substr(at, decoded.length));
        at += decoded.length;
    }
    return safe;
}

// Sets a node's or an attribute's value to text without what XML cannot hold; plain text, what
// nearly every value is, goes in without a copy.
template <class Target>
void setSafeValue(Target target, std::string_view text) {
    if (isPlainText(text)) {
        target.set_value(text.data(), text.size());
    } else {
        const std::string safe = xmlSafe(text);
        target.set_value(safe.data(), safe.size());
    }
}

class StringWriter final : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& text) : text_(text) {}
    void write(const void* data, size_t size) override {
        text_.append(static_cast<const char*>(data), size);
    }

private:
    std::string& text_;
};

bool isText(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// Next node of a depth-first walk that stays below top; iterative so deep trees cannot exhaust
// the stack.
pugi::xml_node nextInside(pugi::xml_node node, const pugi::xml_node& top) {
    if (node.first_child()) return node.first_child();
    while (node && node != top) {
        if (node.next_sibling()) return node.next_sibling();
        node = node.parent();
    }
    return {};
}

// Exactly one element at the top, and no text beside it.
bool hasSingleRoot(const pugi::xml_document& document) {
    int elements = 0;
    for (pugi::xml_node child : document.children()) {
        if (child.type() == pugi::node_element) ++elements;
        if (isText(child)) return false;
    }
    return elements == 1;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        Decoded decoded = decodeAt(text, at);
        if (decoded.length == 0) return false;
        at += decoded.length;
    }
    return true;
}

bool isXmlText(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        Decoded decoded = decodeAt(text, at);
        if (decoded.length == 0 || !isXmlChar(decoded.code)) return false;
        at += decoded.length;
    }
    return true;
}

std::string XmlNode::name() const { return nodeOf(node_).name(); }

std::string XmlNode::text() const {
    pugi::xml_node top = nodeOf(node_);
    std::string text;
    for (pugi::xml_node n = nextInside(top, top); n; n = nextInside(n, top)) {
        if (isText(n)) text += n.value();
    }
    return text;
}

void XmlNode::setText(std::string_view text) {
    pugi::xml_node node = nodeOf(node_);
    if (!node) return;
    while (node.first_child()) node.remove_child(node.first_child());
    setSafeValue(node.append_child(pugi::node_pcdata), text);
}

void XmlNode::setAttribute(std::string_view name, std::string_view value) {
    pugi::xml_node node = nodeOf(node_);
    if (!node) return;
    pugi::xml_attribute attribute = node.find_attribute(
        [name](const pugi::xml_attribute& candidate) { return name == candidate.name(); });
    if (!attribute) attribute = node.append_attribute(asString(name).c_str());
    setSafeValue(attribute, value);
}

std::optional<std::string> XmlNode::attribute(std::string_view name) const {
    pugi::xml_attribute attribute = nodeOf(node_).attribute(asString(name).c_str());
    if (!attribute) return std::nullopt;
    return std::string(attribute.value());
}

std::vector<XmlNode> XmlNode::children() const {
    std::vector<XmlNode> found;
    for (pugi::xml_node child : nodeOf(node_).children()) {
        if (child.type() == pugi::node_element) found.push_back(handleOf(child));
    }
    return found;
}

std::vector<XmlNode> XmlNode::children(std::string_view name) const {
    std::vector<XmlNode> found;
    std::string key = asString(name);  // the range reads it while iterating
    for (pugi::xml_node child : nodeOf(node_).children(key.c_str())) {
        found.push_back(handleOf(child));
    }
    return found;
}

XmlNode XmlNode::firstChild(std::string_view name) const {
    return handleOf(nodeOf(node_).child(asString(name).c_str()));
}

XmlNode XmlNode::lastChild(std::string_view name) const {
    std::string key = asString(name);
    for (pugi::xml_node child = nodeOf(node_).last_child(); child;
         child = child.previous_sibling()) {
        if (child.type() == pugi::node_element && key == child.name()) return handleOf(child);
    }
    return {};
}

XmlNode XmlNode::appendChild(std::string_view name) {
    return handleOf(nodeOf(node_).append_child(asString(name).c_str()));
}

void XmlNode::appendCData(std::string_view text) {
    setSafeValue(nodeOf(node_).append_child(pugi::node_cdata), text);
}

std::string XmlNode::toCompactString() const {
    std::string text;
    appendCompactString(text);
    return text;
}

void XmlNode::appendCompactString(std::string& out) const {
    StringWriter writer(out);
    nodeOf(node_).print(
        writer, "",
        pugi::format_raw | pugi::format_no_empty_element_tags | pugi::format_no_declaration,
        pugi::encoding_utf8);
}

struct XmlDocument::Members {
    pugi::xml_document tree;
};

XmlDocument::XmlDocument() : m_(std::make_unique<Members>()) {}
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;
XmlDocument::~XmlDocument() = default;

std::optional<XmlDocument> XmlDocument::parse(const std::string& text) {
    XmlDocument document;
    // Fragment mode keeps stray text beside the root as nodes, so hasSingleRoot can refuse it.
    pugi::xml_parse_result result = document.m_->tree.load_buffer(
        text.data(), text.size(), pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8);
    if (!result || !hasSingleRoot(document.m_->tree)) return std::nullopt;
    return document;
}

XmlNode XmlDocument::root() const {
    if (!m_) return {};
    return handleOf(m_->tree.document_element());
}

XmlNode XmlDocument::appendRoot(std::string_view name) {
    if (!m_) m_ = std::make_unique<Members>();  // a moved-from document becomes usable again
    m_->tree.reset();
    return handleOf(m_->tree.append_child(asString(name).c_str()));
}

}  // namespace platform
