#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "convert/PDFAnnotations.h"
#include "platform/NumberText.h"

namespace convert {

namespace {

using platform::Rect;
using platform::XmlNode;

// Degenerate page boxes and sizes must not put "nan" or "inf" into a file the host reads.
double ratio(double numerator, double denominator) {
    double value = numerator / denominator;
    return std::isfinite(value) ? value : 0.0;
}

// Truncates toward zero into the 32-bit range of "%i"; NaN gives 0.
std::int32_t truncatedInt32(double value) {
    if (std::isnan(value)) return 0;
    constexpr double low = std::numeric_limits<std::int32_t>::min();
    constexpr double high = std::numeric_limits<std::int32_t>::max();
    if (value <= low) return std::numeric_limits<std::int32_t>::min();
    if (value >= high) return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(value);
}

bool isHorizontal(const std::string& name) {
    return name == "x" || name == "left" || name == "width";
}

bool isVertical(const std::string& name) {
    return name == "y" || name == "top" || name == "height";
}

void scaleStyle(XmlNode style, platform::Size from, platform::Size to) {
    for (XmlNode child : style.children()) {
        std::string name = child.name();
        bool horizontal = isHorizontal(name);
        if (!horizontal && !isVertical(name)) continue;
        std::int32_t value = platform::intValue(child.text());
        std::int32_t scaled = horizontal
                                  ? PDFAnnotations::slidePosition(value, from.width, to.width)
                                  : PDFAnnotations::slidePosition(value, from.height, to.height);
        child.setText(std::to_string(scaled));
    }
}

void stampSize(XmlNode info, platform::Size size) {
    for (XmlNode child : info.children()) {
        std::string name = child.name();
        if (name == "width") child.setText(std::to_string(truncatedInt32(size.width)));
        if (name == "height") child.setText(std::to_string(truncatedInt32(size.height)));
    }
}

}  // namespace

Rect PDFAnnotations::convertRatioContraintBounds(const Rect& bounds, int rotation,
                                                 const Rect& pageBounds) {
    const double x = bounds.x, y = bounds.y, w = bounds.width, h = bounds.height;
    const double px = pageBounds.x, py = pageBounds.y;
    const double pw = pageBounds.width, ph = pageBounds.height;
    // The mirrored terms add the page origin instead of subtracting it; the host's files were
    // made that way, so it stays.
    switch (rotation) {
        case 90:
            return {ratio(y - py, ph), ratio(px + (pw - (x + w)), pw), ratio(h, ph), ratio(w, pw)};
        case 180:
            return {ratio(px + (pw - (x + w)), pw), ratio(py + (ph - (y + h)), ph), ratio(w, pw),
                    ratio(h, ph)};
        case 270:
            return {ratio(py + (ph - (y + h)), ph), ratio(x - px, pw), ratio(h, ph), ratio(w, pw)};
        default:
            return {ratio(x - px, pw), ratio(y - py, ph), ratio(w, pw), ratio(h, ph)};
    }
}

std::int32_t PDFAnnotations::slidePosition(std::int32_t value, double from, double to) {
    return truncatedInt32(ratio(value * to, from));
}

void PDFAnnotations::changeSlidePosition(XmlNode slide, platform::Size fromSize,
                                         platform::Size toSize) {
    if (slide.name() != "slide") return;
    XmlNode elements = slide.lastChild("elements");
    for (XmlNode element : elements.children("element")) {
        XmlNode style = element.lastChild("style");
        if (style) scaleStyle(style, fromSize, toSize);
    }
    XmlNode info = slide.lastChild("info");
    if (info) stampSize(info, toSize);
}

}  // namespace convert
