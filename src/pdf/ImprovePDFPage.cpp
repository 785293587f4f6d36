#include "pdf/ImprovePDFPage.h"

#include "platform/URIParser.h"

namespace pdf {
namespace {

using platform::PdfObject;

bool isContinuationByte(unsigned char c) { return (c & 0xC0) == 0x80; }

// Well-formed UTF-8 as the standard defines it: no overlong forms, no surrogates, nothing
// beyond U+10FFFF.
bool isValidUTF8(const std::string& bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        auto c = static_cast<unsigned char>(bytes[i]);
        std::size_t length = c < 0x80                 ? 1
                             : c >= 0xC2 && c <= 0xDF ? 2
                             : c >= 0xE0 && c <= 0xEF ? 3
                             : c >= 0xF0 && c <= 0xF4 ? 4
                                                      : 0;
        if (length == 0 || i + length > bytes.size()) return false;
        for (std::size_t k = 1; k < length; ++k) {
            if (!isContinuationByte(static_cast<unsigned char>(bytes[i + k]))) return false;
        }
        auto next = static_cast<unsigned char>(length > 1 ? bytes[i + 1] : 0);
        if ((c == 0xE0 && next < 0xA0) || (c == 0xED && next > 0x9F) ||
            (c == 0xF0 && next < 0x90) || (c == 0xF4 && next > 0x8F)) {
            return false;
        }
        i += length;
    }
    return true;
}

// The address of a /URI action: its "URI action" string when it has one, else uri (its /URI
// string), made a URL once every character that is not legal in one is escaped ("%" included,
// so an escape already in the text is escaped again).
std::optional<std::string> urlOfAction(const PdfObject& action, std::optional<std::string> uri) {
    if (auto literal = action.get("URI action").textString()) uri = std::move(literal);
    if (!uri) return std::nullopt;
    return platform::parseURL(platform::addingPercentEscapes(*uri));
}

// Only an action whose /S is exactly "URI" gives an address.
std::optional<std::string> urlOfMouseDown(const PdfObject& annotation) {
    PdfObject action = annotation.get("AA").get("D");
    auto kind = action.get("S").name();
    if (!kind || PDFTypeName(*kind) != "URI") return std::nullopt;
    return urlOfAction(action, action.get("URI").textString());
}

platform::Annotation makeLink(const platform::Annotation& read) {
    platform::Annotation link;
    link.type = "Link";
    link.bounds = read.bounds;
    return link;
}

}  // namespace

std::optional<std::string> PDFTypeName(const std::string& nameBytes) {
    std::string text = nameBytes.substr(0, nameBytes.find('\0'));
    if (!isValidUTF8(text)) return std::nullopt;
    return text;
}

std::optional<platform::Annotation> annotInfo(const PdfObject& annotation,
                                              const platform::Annotation& read) {
    // The model's subtype and rectangle are the record's: a name is its bytes up to the first
    // NUL, so "Link" and "Widget" compare the same either way.
    if (read.type == "Link") {
        platform::Annotation link = makeLink(read);
        const std::optional<platform::Action>& action = read.mouseUpAction;
        if (action && action->kind == platform::Action::Kind::URL) {
            link.url = urlOfAction(annotation.get("A"), action->url);
        }
        return link;
    }
    if (read.type == "Widget") {
        platform::Annotation link = makeLink(read);
        link.url = urlOfMouseDown(annotation);
        if (link.url) return link;
    }
    return std::nullopt;
}

PageAnnotations readPageAnnotations(const platform::Document& document, int pageIndex,
                                    const platform::StopFlag& stop) {
    PageAnnotations page;
    PdfObject annots = document.pageObject(pageIndex).get("Annots");
    std::size_t count = annots.arrayLength();
    bool stopped = false;
    for (std::size_t i = 0; i < count; ++i) {
        stopped = stopped || stop.isSet();
        PdfObject entry = annots.at(i).dictionary();
        if (entry.isNull()) continue;
        page.annotations.push_back(document.annotation(entry));
        if (stopped) continue;
        if (auto link = annotInfo(entry, page.annotations.back())) {
            page.links.push_back(std::move(*link));
        }
    }
    return page;
}

std::vector<platform::Annotation> fmAnnotations(const platform::Document& document, int pageIndex,
                                                const platform::StopFlag& stop) {
    return readPageAnnotations(document, pageIndex, stop).links;
}

}  // namespace pdf
