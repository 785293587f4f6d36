#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/AnimationLinkFormat.h"
#include "convert/JobDocument.h"
#include "convert/PDFAnnotations.h"
#include "platform/NumberText.h"
#include "platform/PugiXML.h"

namespace convert {
namespace {

// The copy of a link that runs over the middle of a divided page takes the link's index plus
// this fixed offset as its id (and so as its name and z-order).
constexpr std::int32_t kOverflowIdOffset = 1981;

// The slides of a page: second is there only when the page is divided.
struct SlidePage {
    const PDFAnnotations& converter;
    const std::vector<platform::Annotation>& rawList;
    platform::Size size;  // the crop box's, in points; halves are measured against it too
    bool divided = false;
    XmlFileText& first;
    XmlFileText* second;
};

struct PointBox {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

// Truncated toward zero. A degenerate crop box makes fractions infinite or NaN; such values
// are held to the 32-bit range, NaN to 0, instead of being converted blindly.
std::int32_t toPoints(double value) {
    if (std::isnan(value)) return 0;
    constexpr double kLow = std::numeric_limits<std::int32_t>::min();
    constexpr double kHigh = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::trunc(std::fmin(std::fmax(value, kLow), kHigh)));
}

PointBox toPointBox(const platform::Rect& fraction, platform::Size size) {
    return {toPoints(size.width * fraction.x), toPoints(fraction.y * size.height),
            toPoints(size.width * fraction.width), toPoints(fraction.height * size.height)};
}

// Whether the text can stand inside the element's CDATA section and come back unchanged.
bool isCDataText(std::string_view text) {
    return platform::isXmlText(text) && text.find("]]>") == std::string_view::npos;
}

// The text of a web link's element when address is set, else of a go-to element for the
// one-based page, with its style positions as changeSlidePosition leaves them for the slide's
// own size: the element goes into the file as it is made, not through a tree.
std::string linkElementText(PointBox box, platform::Size size,
                            const std::optional<std::string>& address, std::int32_t page,
                            std::int32_t id) {
    box.left = PDFAnnotations::slidePosition(box.left, size.width, size.width);
    box.width = PDFAnnotations::slidePosition(box.width, size.width, size.width);
    box.top = PDFAnnotations::slidePosition(box.top, size.height, size.height);
    box.height = PDFAnnotations::slidePosition(box.height, size.height, size.height);
    return address ? getLinkString(box.left, box.top, box.width, box.height, *address, id)
                   : getGotoPageString(box.left, box.top, box.width, box.height, page, id);
}

void addSlideLink(SlidePage& page, const platform::Annotation& link, std::int32_t id) {
    std::optional<PDFAnnotations::LinkTarget> target =
        page.converter.resolveLinkTarget(link, page.rawList);
    if (!target) return;
    std::optional<std::string> address;
    if (target->url) {
        address = PDFAnnotations::decodeLinkURL(*target->url);
        if (!address || !isCDataText(*address)) return;
    }
    // Always the link's own bounds, also when its address came from a raw-list hit.
    PDFAnnotations::LinkPlacement placement = page.converter.placeLink(link.bounds, page.divided);
    PointBox box = toPointBox(placement.location, page.size);
    // An undivided page has no second slide: a link placed there is dropped.
    if (placement.toSecond && !page.divided) return;
    const auto undivided = static_cast<std::int32_t>(target->page);
    std::int32_t goTo = page.divided
                            ? page.converter.dividedSlideTarget(undivided, target->isDestPart1)
                            : undivided;
    XmlFileText& slide = placement.toSecond ? *page.second : page.first;
    slide.append(linkElementText(box, page.size, address, goTo, id));
    if (placement.toSecond || !placement.overflows || !page.divided) return;
    // The copy keeps the link's left edge and its undivided go-to target.
    box.width = toPoints(placement.overflowWidth * page.size.width);
    page.second->append(
        linkElementText(box, page.size, address, undivided, id + kOverflowIdOffset));
}

// A blank slide with the page's size stamped in, its links to come.
XmlFileText blankSlide(platform::Size size) {
    platform::XmlDocument slide = PDFAnnotations::generateXMLForBlankPage();
    PDFAnnotations::changeSlidePosition(slide.root(), size, size);
    return XmlFileText(slide, slide.root().lastChild("elements"));
}

std::int32_t linkCount(std::size_t size) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
    return static_cast<std::int32_t>(size < kMost ? size : kMost);
}

}  // namespace

void PDFAnnotations::parsePageForAnimationEditor(const platform::StopFlag& stop) {
    if (!pdfDoc) return;
    platform::Rect cropBox = jobDocument_->cropBox(currentPageIndex());
    pdf::PageAnnotations read = readPageLinks(stop);
    const std::vector<platform::Annotation>& links = read.annotations;
    platform::Size size{cropBox.width, cropBox.height};
    XmlFileText first = blankSlide(size);
    bool divided = wideMode != 0 && isWidePageAt(pageNumber);
    std::optional<XmlFileText> second;
    if (divided) second = blankSlide(size);
    SlidePage page{*this, read.links, size, divided, first, second ? &*second : nullptr};
    std::int32_t count = linkCount(links.size());
    for (std::int32_t i = 0; i < count; ++i) {
        if (stop.isSet()) break;
        addSlideLink(page, links[i], i);
    }
    writeXML(outputPathForHalf(divided, 0), std::move(first));
    if (second) writeXML(outputPathForHalf(divided, 1), std::move(*second));
}

void PDFAnnotations::changeGotoPageForAnimationEditor(platform::XmlNode element,
                                                      bool isDestPart1) const {
    for (const platform::XmlNode& action : element.children("action")) {
        std::vector<platform::XmlNode> types = action.children("type");
        if (types.empty() || types.back().text() != "goToPage") return;
        std::vector<platform::XmlNode> params = action.children("params");
        if (params.empty()) continue;
        std::vector<platform::XmlNode> targets = params.back().children("target");
        if (targets.empty()) return;
        std::int32_t page = platform::intValue(targets.back().text());
        targets.back().setText(std::to_string(dividedSlideTarget(page, isDestPart1)));
    }
}

std::int32_t PDFAnnotations::dividedSlideTarget(std::int32_t page, bool isDestPart1) const {
    return NewPageIndexAt(page) + (isDestPart1 ? 1 : 0);
}

const platform::Annotation* PDFAnnotations::AnnotationLinkAt(
    const std::vector<platform::Annotation>& list, const platform::Rect& rect) {
    return findLinkAt(list, rect);
}

}  // namespace convert
