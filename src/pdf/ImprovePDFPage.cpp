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

std::optional<std::string> nameEntry(const PdfObject& dictionary, const std::string& key) {
    auto bytes = dictionary.get(key).name();
    return bytes ? PDFTypeName(*bytes) : std::nullopt;
}

std::optional<std::int32_t> int32Entry(const PdfObject& dictionary, const std::string& key) {
    auto value = dictionary.get(key).integer();
    if (!value) return std::nullopt;
    return static_cast<std::int32_t>(*value);
}

std::optional<std::vector<float>> readBorder(const PdfObject& array) {
    if (!array.isArray()) return std::nullopt;
    std::vector<float> border;
    for (std::size_t i = 0; i < array.arrayLength(); ++i) {
        if (auto number = array.at(i).number()) border.push_back(static_cast<float>(*number));
    }
    return border;
}

std::optional<AnnotInfo::BorderStyle> readBorderStyle(const PdfObject& bs) {
    if (!bs.isDictionary()) return std::nullopt;
    AnnotInfo::BorderStyle style;
    if (auto w = bs.get("W").integer()) style.w = static_cast<long>(*w);
    style.s = nameEntry(bs, "S");
    if (bs.get("D").isArray()) style.d = "have D type here..";
    return style;
}

AnnotInfo::ActionInfo readAction(const PdfObject& action) {
    AnnotInfo::ActionInfo info;
    info.type = nameEntry(action, "Type");
    info.s = nameEntry(action, "S");
    if (info.s && info.s->rfind("URI", 0) == 0) {
        info.uri = action.get("URI").textString();
        if (auto literal = action.get("URI action").textString()) info.uri = literal;
    }
    return info;
}

// The page "P" stands for, found through the structure tree numbers rather than the reference.
std::optional<int> structParentPage(const platform::Document& document, const PdfObject& p,
                                    const StructParentMap& pagesInTree) {
    auto number = p.get("StructParent").integer();
    if (!p.isDictionary() || !number) return std::nullopt;
    auto found = pagesInTree.find(*number);
    int index = found == pagesInTree.end() ? 0 : found->second;
    if (index < 0 || index >= document.pageCount()) return std::nullopt;
    return index;
}

// The record keeps "URI" under its own name, and the action's /S names the entry to use: only
// /S exactly "URI" finds one. A URL is made of it once every character that is not legal in a
// URL is escaped ("%" included, so an escape already in the text is escaped again).
std::optional<std::string> urlOfAction(const AnnotInfo::ActionInfo& action) {
    if (action.s != "URI" || !action.uri) return std::nullopt;
    return platform::parseURL(platform::addingPercentEscapes(*action.uri));
}

platform::Annotation makeLink(const AnnotInfo& info) {
    platform::Annotation link;
    link.type = "Link";
    link.bounds = info.rect.value_or(platform::Rect{});
    return link;
}

}  // namespace

std::optional<std::string> PDFTypeName(const std::string& nameBytes) {
    std::string text = nameBytes.substr(0, nameBytes.find('\0'));
    if (!isValidUTF8(text)) return std::nullopt;
    return text;
}

StructParentMap buildStructParentMap(const platform::Document& document) {
    StructParentMap map;
    int count = document.pageCount();
    for (int index = 0; index < count; ++index) {
        if (auto number = document.pageObject(index).get("StructParents").integer()) {
            map[*number] = index;
        }
    }
    return map;
}

AnnotInfo readAnnotInfo(const platform::Document& document, const PdfObject& annotation,
                        const StructParentMap& pagesInTree) {
    AnnotInfo info;
    info.type = nameEntry(annotation, "Type");
    info.subtype = nameEntry(annotation, "Subtype");
    info.as = nameEntry(annotation, "AS");
    info.rect = annotation.get("Rect").rectangle();
    info.border = readBorder(annotation.get("Border"));
    info.contents = annotation.get("Contents").textString();
    info.nm = annotation.get("NM").textString();
    info.m = annotation.get("M").textString();
    info.f = int32Entry(annotation, "F");
    info.structParent = int32Entry(annotation, "StructParent");
    info.bs = readBorderStyle(annotation.get("BS"));
    info.p = structParentPage(document, annotation.get("P"), pagesInTree);
    PdfObject action = annotation.get("A");
    if (info.subtype == "Link" && action.isDictionary()) info.a = readAction(action);
    PdfObject mouseDown = annotation.get("AA").get("D");
    if (info.subtype == "Widget" && mouseDown.isDictionary()) info.aa = readAction(mouseDown);
    return info;
}

std::optional<platform::Annotation> annotInfo(const platform::Document& document,
                                              const PdfObject& annotation,
                                              const StructParentMap& pagesInTree) {
    AnnotInfo info = readAnnotInfo(document, annotation, pagesInTree);
    if (info.subtype == "Link") {
        platform::Annotation link = makeLink(info);
        if (info.a) link.url = urlOfAction(*info.a);
        return link;
    }
    if (info.subtype == "Widget" && info.aa) {
        platform::Annotation link = makeLink(info);
        link.url = urlOfAction(*info.aa);
        if (link.url) return link;
    }
    return std::nullopt;
}

std::vector<platform::Annotation> fmAnnotations(const platform::Document& document, int pageIndex,
                                                const StructParentMap& pagesInTree,
                                                const platform::StopFlag& stop) {
    std::vector<platform::Annotation> links;
    PdfObject annots = document.pageObject(pageIndex).get("Annots");
    std::size_t count = annots.arrayLength();
    for (std::size_t i = 0; i < count; ++i) {
        if (stop.isSet()) break;
        PdfObject entry = annots.at(i);
        if (!entry.isDictionary()) continue;
        if (auto link = annotInfo(document, entry, pagesInTree)) links.push_back(std::move(*link));
    }
    return links;
}

}  // namespace pdf
