#include <charconv>
#include <optional>
#include <string>
#include <utility>

#include "convert/PDFAnnotations.h"
#include "platform/NumberText.h"

namespace convert {

namespace {

using platform::XmlDocument;
using platform::XmlNode;

constexpr const char* kAnnoLink = "com.quendal.vorlinde.pageeditor.TAnnoLink";
constexpr const char* kOpenURL = "com.quendal.vorlinde.pageeditor.TAnnoActionOpenURL";
constexpr const char* kGotoPage = "com.quendal.vorlinde.pageeditor.TAnnoActionGotoPage";

// "%f": six decimals, always with a point whatever the process locale says.
std::string fixed6(double value) {
    char buffer[400];  // the longest finite double in fixed notation fits
    auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
    if (error != std::errc()) return "0.000000";
    return std::string(buffer, end);
}

// An "anno" root whose "action" has the given type; the caller fills the action.
XmlNode makeAnno(XmlDocument& document, const char* actionType) {
    XmlNode anno = document.appendRoot("anno");
    anno.setAttribute("annotype", kAnnoLink);
    XmlNode action = anno.appendChild("action");
    action.setAttribute("triggerEventType", "mouseDown");
    action.setAttribute("actionType", actionType);
    return action;
}

XmlFileText makePageAnnos(int half) {
    XmlDocument document;
    XmlNode root = document.appendRoot("pageAnnos");
    root.setAttribute("pageIndex", half == 0 ? "0" : "1");
    return XmlFileText(document, root);
}

void setLocation(XmlNode anno, const platform::Rect& location) {
    XmlNode element = anno.appendChild("location");
    element.setAttribute("x", fixed6(location.x));
    element.setAttribute("y", fixed6(location.y));
    element.setAttribute("width", fixed6(location.width));
    element.setAttribute("height", fixed6(location.height));
}

// The piece of a link that runs over the middle: it starts at the second half's left edge.
// The anno is changed into it.
void appendOverflowPiece(XmlNode anno, double width, XmlFileText& second) {
    XmlNode location = anno.lastChild("location");
    location.setAttribute("x", "0.0");
    location.setAttribute("width", fixed6(width));
    second.append(anno);
}

struct EditorPage {
    const PDFAnnotations& converter;
    const std::vector<platform::Annotation>& rawList;
    bool divided = false;
    XmlFileText& first;
    XmlFileText* second;  // null when the page is not divided
};

void addEditorLink(EditorPage& page, const platform::Annotation& link) {
    std::optional<PDFAnnotations::LinkTarget> target =
        page.converter.resolveLinkTarget(link, page.rawList);
    if (!target) return;
    XmlDocument element = target->url ? PDFAnnotations::PDFActionURL2EditorXML(*target->url)
                                      : PDFAnnotations::PDFActionGoTo2EditorXML(target->page);
    if (page.converter.wideMode != 0) {
        page.converter.changeGotoPageForPageEditor(element.root(), target->isDestPart1);
    }
    PDFAnnotations::LinkPlacement placement = page.converter.placeLink(link.bounds, page.divided);
    setLocation(element.root(), placement.location);
    if (placement.toSecond) {
        // An undivided page has no second file: the link is dropped.
        if (page.second) page.second->append(element.root());
        return;
    }
    page.first.append(element.root());
    if (placement.overflows && page.second) {
        appendOverflowPiece(element.root(), placement.overflowWidth, *page.second);
    }
}

}  // namespace

XmlDocument PDFAnnotations::PDFActionURL2EditorXML(const std::string& url) {
    XmlDocument document;
    makeAnno(document, kOpenURL).appendChild("url").setText(decodeLinkURL(url).value_or(""));
    return document;
}

XmlDocument PDFAnnotations::PDFActionGoTo2EditorXML(std::int64_t page) {
    XmlDocument document;
    makeAnno(document, kGotoPage).appendChild("pageIndex").setText(std::to_string(page));
    return document;
}

void PDFAnnotations::changeGotoPageForPageEditor(XmlNode anno, bool isDestPart1) const {
    for (XmlNode action : anno.children("action")) {
        XmlNode pageIndex = action.firstChild("pageIndex");
        if (!pageIndex) continue;
        std::int32_t page = platform::intValue(pageIndex.text());
        pageIndex.setText(
            std::to_string(std::int64_t{NewPageIndexAt(page)} + (isDestPart1 ? 1 : 0)));
    }
}

void PDFAnnotations::parsePageWithDetectWidePage(const platform::StopFlag& stop) {
    if (!pdfDoc) return;
    pdf::PageAnnotations read = readPageLinks(stop);
    XmlFileText first = makePageAnnos(0);
    bool divided = wideMode != 0 && isWidePageAt(pageNumber);
    std::optional<XmlFileText> second;
    if (divided) second = makePageAnnos(1);
    EditorPage page{*this, read.links, divided, first, second ? &*second : nullptr};
    for (const platform::Annotation& link : read.annotations) {
        if (stop.isSet()) break;
        addEditorLink(page, link);
    }
    writeXML(outputPathForHalf(divided, 0), std::move(first));
    if (second) writeXML(outputPathForHalf(divided, 1), std::move(*second));
}

}  // namespace convert
