#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>

#include "convert/JobDocument.h"
#include "convert/PDFAnnotations.h"
#include "platform/AtomicFile.h"
#include "platform/OutOfMemory.h"

namespace convert {

namespace {

using platform::Annotation;
using platform::Rect;

std::optional<int> hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return std::nullopt;
}

// One round of percent decoding; nullopt for "%" without two hex digits after it, or when the
// decoded bytes are not UTF-8.
std::optional<std::string> decodePercentOnce(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        if (at + 2 >= text.size()) return std::nullopt;
        std::optional<int> high = hexDigit(text[at + 1]);
        std::optional<int> low = hexDigit(text[at + 2]);
        if (!high || !low) return std::nullopt;
        decoded += static_cast<char>(*high * 16 + *low);
        at += 2;
    }
    if (!platform::isValidUTF8(decoded)) return std::nullopt;
    return decoded;
}

}  // namespace

std::optional<std::string> PDFAnnotations::removePercentCoding(std::string_view text) {
    std::string current(text);
    // Addresses are sometimes escaped twice ("%2541" for "A"), so decode until nothing changes.
    while (current.find('%') != std::string::npos) {
        std::optional<std::string> decoded = decodePercentOnce(current);
        if (!decoded) return std::nullopt;
        if (*decoded == current) break;
        current = std::move(*decoded);
    }
    return current;
}

std::optional<std::string> PDFAnnotations::decodeLinkURL(const std::string& url) {
    std::optional<std::string> text = removePercentCoding(url);
    if (!text) return std::nullopt;
    std::erase_if(*text, [](char c) { return c == '\r' || c == '\n'; });
    return text;
}

const Annotation* PDFAnnotations::findLinkAt(const std::vector<Annotation>& rawList,
                                             const Rect& rect) {
    for (const Annotation& link : rawList) {
        if (platform::intersects(link.bounds, rect) &&
            platform::containsPoint(rect, link.bounds.origin())) {
            return &link;
        }
    }
    return nullptr;
}

std::optional<PDFAnnotations::LinkTarget> PDFAnnotations::resolveLinkTarget(
    const Annotation& link, const std::vector<Annotation>& rawList) const {
    if (link.type == "Link") {
        if (link.url) return LinkTarget{link.url};
        if (link.destination) return goToTarget(*link.destination);
        return rawURLTarget(rawList, link.bounds);
    }
    if (link.type == "Widget") return rawURLTarget(rawList, link.bounds);
    if (!link.mouseUpAction) return std::nullopt;
    const platform::Action& action = *link.mouseUpAction;
    switch (action.kind) {
        case platform::Action::Kind::GoTo:
            if (action.destination) return goToTarget(*action.destination);
            return std::nullopt;
        case platform::Action::Kind::URL:
            if (action.url) return LinkTarget{action.url};
            return std::nullopt;
        case platform::Action::Kind::Named:
            return namedTarget(action.name);
        case platform::Action::Kind::Other:
            break;
    }
    return std::nullopt;
}

std::optional<PDFAnnotations::LinkTarget> PDFAnnotations::rawURLTarget(
    const std::vector<Annotation>& rawList, const Rect& bounds) {
    const Annotation* hit = findLinkAt(rawList, bounds);
    if (!hit || !hit->url) return std::nullopt;
    return LinkTarget{hit->url};
}

PDFAnnotations::LinkTarget PDFAnnotations::goToTarget(
    const platform::Destination& destination) const {
    std::int64_t page = std::int64_t{destination.pageIndex} + 1;
    Rect box = jobDocument_->cropBox(destination.pageIndex);
    return LinkTarget{std::nullopt, page, isDestinationInSecondHalf(page, destination.point, box)};
}

PDFAnnotations::LinkTarget PDFAnnotations::namedTarget(const std::string& name) const {
    std::int64_t count = pdfDoc->pageCount();
    std::int64_t current = currentPageIndex();
    std::int64_t page = current + 1;
    if (name == "NextPage") page = current + 2;
    if (name == "PrevPage") page = current;
    if (name == "FirstPage") page = 1;
    if (name == "LastPage") page = count;
    page = std::min(std::max<std::int64_t>(page, 1), count);
    Rect box = jobDocument_->cropBox(static_cast<int>(page - 1));
    return LinkTarget{std::nullopt, page, isDestinationInSecondHalf(page, {0, 0}, box)};
}

bool PDFAnnotations::isDestinationInSecondHalf(std::int64_t page, platform::Point point,
                                               const Rect& box) const {
    if (!isWidePageAt(page)) return false;
    double r = (point.x - box.x) / box.width;
    // A degenerate box makes r NaN, which counts as lying in the left half.
    bool inLeftHalf = !(r >= 0.5);
    return isRight2Left ? inLeftHalf : !inLeftHalf;
}

PDFAnnotations::LinkPlacement PDFAnnotations::placeLink(const Rect& bounds, bool divided) const {
    Rect fraction = convertRatioContraintBounds(bounds, jobDocument_->rotation(currentPageIndex()),
                                                jobDocument_->cropBox(currentPageIndex()));
    LinkPlacement placement;
    placement.location = {fraction.x, 1.0 - (fraction.y + fraction.height), fraction.width,
                          fraction.height};
    placement.toSecond = isRight2Left;
    if (!divided) return placement;
    Rect& location = placement.location;
    location.width = 2 * fraction.width;
    if (fraction.x >= 0.5) {
        location.x = (fraction.x - 0.5) * 2;
        placement.toSecond = !isRight2Left;
        return placement;
    }
    location.x = 2 * fraction.x;
    // A right-to-left book puts the left half second; its overflow is not copied.
    placement.overflows = !isRight2Left && location.x + location.width > 1.0;
    if (placement.overflows) placement.overflowWidth = location.x + location.width - 1.0;
    return placement;
}

std::string PDFAnnotations::outputPathForHalf(bool divided, int half) const {
    if (!divided) return outputFile;
    std::filesystem::path path(outputFile);
    if (!path.has_filename()) path = path.parent_path();
    std::string extension = path.extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    std::string name = path.stem().string() + (half == 0 ? "-w0." : "-w1.") + extension;
    return (path.parent_path() / name).string();
}

void PDFAnnotations::writeXML(const std::string& path, XmlFileText xml) const {
    // What was read for this file may have been cut short; the job fails instead.
    if (platform::ranOutOfMemory()) throw std::bad_alloc();
    auto text = std::make_shared<const XmlFileText>(std::move(xml));
    auto content = [text](const platform::ByteSink& out) { return text->writeTo(out); };
    if (files_) return files_->write(path, std::move(content));
    // The host treats a missing file as a page without links; there is no one to tell.
    static_cast<void>(platform::writeFileAtomically(path, content));
}

}  // namespace convert
