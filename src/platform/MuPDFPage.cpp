// Page geometry read from the page dictionary and its /Parent chain, without loading the page.
#include <algorithm>
#include <cmath>

#include "platform/MuPDFDocument.h"
#include "platform/MuPDFEngine.h"

namespace platform {
namespace {

// Deep enough for any real page tree; stops a /Parent cycle.
constexpr int kMaxTreeDepth = 64;

// The engine's own fallback for a page without a usable media box: US Letter.
constexpr Rect kLetter{0, 0, 612, 792};

PdfObject inheritedEntry(PdfObject node, const std::string& key) {
    for (int depth = 0; depth < kMaxTreeDepth && node.isDictionary(); ++depth) {
        PdfObject value = node.get(key);
        if (!value.isNull()) return value;
        node = node.get("Parent");
    }
    return {};
}

// 0, 90, 180 or 270 for any multiple of 90, negative and beyond a full turn included.
int normalisedRotation(double degrees) {
    if (!std::isfinite(degrees)) return 0;
    double turned = std::fmod(std::trunc(degrees), 360.0);
    if (turned < 0) turned += 360.0;
    int rotation = static_cast<int>(turned);
    return rotation % 90 == 0 ? rotation : 0;
}

Rect intersection(const Rect& a, const Rect& b) {
    double x0 = std::max(a.minX(), b.minX());
    double y0 = std::max(a.minY(), b.minY());
    double x1 = std::min(a.maxX(), b.maxX());
    double y1 = std::min(a.maxY(), b.maxY());
    if (x1 <= x0 || y1 <= y0) return {};
    return {x0, y0, x1 - x0, y1 - y0};
}

}  // namespace

int Document::rotation(int index) const {
    PdfObject rotate = inheritedEntry(pageObject(index), "Rotate");
    return normalisedRotation(rotate.number().value_or(0));
}

Rect Document::cropBox(int index) const {
    PdfObject page = pageObject(index);
    if (page.isNull()) return {};
    Rect mediaBox = inheritedEntry(page, "MediaBox").rectangle().value_or(kLetter);
    std::optional<Rect> crop = inheritedEntry(page, "CropBox").rectangle();
    if (!crop) return mediaBox;
    Rect clipped = intersection(*crop, mediaBox);
    return clipped.isEmpty() ? mediaBox : clipped;
}

}  // namespace platform
