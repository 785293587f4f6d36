#include "host/PreviewPicture.h"

#include <fstream>
#include <sstream>

#include "platform/MuPDFDocument.h"

namespace host {
namespace {

using platform::Error;
using platform::Rect;

// Label text size and line width, in points (scaled with the picture).
constexpr double kLabelSize = 8;
constexpr double kLineWidth = 1.5;
// The label's box is this many sizes high (see platform::measureLabel).
constexpr double kLabelHeight = 1.3;

platform::Result<std::string> readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return platform::makeError(Error::Code::System, "cannot read " + path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

Rect toPixels(const Rect& fraction, const platform::Image& image) {
    return {fraction.x * image.width, fraction.y * image.height, fraction.width * image.width,
            fraction.height * image.height};
}

// The links of the worker's files, in pixels of the picture; a divided page gets its middle.
platform::Result<std::vector<PreviewLink>> linksOfFiles(const PreviewRequest& request,
                                                        const platform::Image& image,
                                                        bool* divided) {
    std::vector<PreviewLink> links;
    for (const std::string& path : request.xmlFiles) {
        auto text = readText(path);
        if (!text) return text.error();
        auto read = readLinkXml(*text);
        if (!read)
            return platform::makeError(Error::Code::Format, path + ": " + read.error().message);
        const PageHalf half = halfOfFile(path);
        *divided = *divided || half != PageHalf::Whole;
        for (PreviewLink& link : *read) {
            link.frame = toPixels(toWholePage(link.frame, half, request.rightToLeft), image);
            links.push_back(std::move(link));
        }
    }
    return links;
}

// The PDF's own link annotations, in pixels of the picture.
platform::Result<std::vector<PreviewLink>> linksOfPdf(const PreviewRequest& request,
                                                      const platform::PageTransform& toImage) {
    auto document = platform::Document::open(request.pdf);
    if (!document) return document.error();
    if (!document->unlock("") && !document->unlock(request.password)) {
        return platform::makeError(Error::Code::Password,
                                   "the password does not open " + request.pdf);
    }
    std::vector<PreviewLink> links = readPdfLinks(*document, request.page - 1);
    for (PreviewLink& link : links) link.frame = toImage.applyToRect(link.frame);
    return links;
}

platform::OverlayBox dividerOf(const platform::Image& image, double scale) {
    return {{image.width / 2.0, 0, 0, static_cast<double>(image.height)},
            kDividerColor,
            kLineWidth * scale / 2};
}

}  // namespace

std::string toLabelText(const std::string& target) {
    if (target.size() <= kLabelLength) return target;
    std::size_t cut = kLabelLength - 3;
    // Never end inside a UTF-8 sequence.
    while (cut > 0 && (static_cast<unsigned char>(target[cut]) & 0xC0) == 0x80) --cut;
    return target.substr(0, cut) + "...";
}

Overlay makeOverlay(const std::vector<PreviewLink>& links, double scale) {
    Overlay overlay;
    const double size = kLabelSize * scale;
    for (const PreviewLink& link : links) {
        const platform::Rgb color = link.isPageLink ? kPageLinkColor : kWebLinkColor;
        overlay.boxes.push_back({link.frame, color, kLineWidth * scale});
        const double above = link.frame.y - kLabelHeight * size;
        const platform::Point origin{link.frame.x, above >= 0 ? above : link.frame.y};
        overlay.labels.push_back({origin, toLabelText(link.target), size, color, kLabelBackground});
    }
    return overlay;
}

platform::Result<std::size_t> writeLinkPreview(const PreviewRequest& request) {
    auto page =
        platform::renderPdfPage(request.pdf, request.password, request.page - 1, request.scale);
    if (!page) return page.error();
    bool divided = false;
    auto links = request.xmlFiles.empty() ? linksOfPdf(request, page->pageToImage)
                                          : linksOfFiles(request, page->image, &divided);
    if (!links) return links.error();
    Overlay overlay = makeOverlay(*links, request.scale);
    if (divided) overlay.boxes.push_back(dividerOf(page->image, request.scale));
    auto drawn = platform::drawOverlay(page->image, overlay.boxes, overlay.labels);
    if (!drawn) return drawn.error();
    auto written = platform::writePng(page->image, request.png);
    if (!written) return written.error();
    return links->size();
}

}  // namespace host
