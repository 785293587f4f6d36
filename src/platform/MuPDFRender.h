#pragma once
// Pictures of pages for people to look at: a PDF page rendered to RGB pixels, boxes and labels
// drawn over them, and PNG files written and read. Everything here is drawing; what to draw
// and where is decided by the caller.

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/result.h"

namespace platform {

struct Rgb {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool operator==(const Rgb&) const = default;
};

// RGB pixels, three bytes each, rows from the top.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    // The pixel at (x, y); black outside the picture.
    Rgb at(int x, int y) const;
};

// Maps PDF page space (origin bottom-left) to the pixels of a rendered page (origin top-left):
// (x, y) becomes (a·x + c·y + e, b·x + d·y + f).
struct PageTransform {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    Point apply(Point p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }
    // The smallest upright rectangle around the mapped corners.
    Rect applyToRect(const Rect& r) const;
};

struct RenderedPage {
    Image image;
    PageTransform pageToImage;
};

// Renders the displayed page (crop box, rotation applied) of the PDF at path at scale pixels
// per point, on white. An encrypted file is tried with "" first, then with password. Fails with
// System for a missing file, Format for a damaged one, Password for one that stays locked,
// Argument for a page index outside the document.
Result<RenderedPage> renderPdfPage(const std::string& path, const std::string& password,
                                   int pageIndex, double scale);

// A rectangle outline; frame in pixels, origin top-left.
struct OverlayBox {
    Rect frame;
    Rgb color;
    double lineWidth = 2;
};

// One line of text on a filled background box whose top-left corner is at origin (pixels). The
// text is set in Helvetica, size pixels high.
struct OverlayLabel {
    Point origin;
    std::string text;
    double size = 12;
    Rgb color;
    Rgb background;
};

// The background box of a label: as wide as its text plus a margin, 1.3 × size high.
Result<Size> measureLabel(const std::string& text, double size);

// Draws the boxes, then the labels, onto the image.
Status drawOverlay(Image& image, const std::vector<OverlayBox>& boxes,
                   const std::vector<OverlayLabel>& labels);

Status writePng(const Image& image, const std::string& path);
// Any picture file the engine reads, converted to RGB.
Result<Image> readPng(const std::string& path);

}  // namespace platform
