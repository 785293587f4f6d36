#include "platform/PageText.h"

#include <algorithm>

#include "platform/DecimalFloat.h"

namespace platform {

CharBox::CharBox(const Rect& r)
    : x0(static_cast<float>(r.minX())),
      y0(static_cast<float>(r.minY())),
      x1(static_cast<float>(r.maxX())),
      y1(static_cast<float>(r.maxY())) {}

Rect CharBox::rect() const {
    const double x = decimalValue(x0);
    const double y = decimalValue(y0);
    return {x, y, decimalValue(x1) - x, decimalValue(y1) - y};
}

Rect PageText::boundsOfRange(std::size_t start, std::size_t length) const {
    Rect bounds;
    for (std::size_t i = start; i < boxes.size() && i - start < length; ++i) {
        bounds = unionRect(bounds, boxes[i].rect());
    }
    return bounds;
}

bool PageText::isVisible(const Rect& bounds) const {
    if (!cropBox || bounds == Rect{}) return true;
    return bounds.minX() < cropBox->maxX() && cropBox->minX() < bounds.maxX() &&
           bounds.minY() < cropBox->maxY() && cropBox->minY() < bounds.maxY();
}

std::vector<Rect> PageText::lineBoundsOfRange(std::size_t start, std::size_t length) const {
    std::vector<Rect> lines;
    const std::size_t end = std::min({start + length, text.size(), boxes.size()});
    for (std::size_t lineStart = start; lineStart < end;) {
        std::size_t lineEnd = text.find(u'\n', lineStart);
        lineEnd = lineEnd == std::u16string::npos ? end : std::min(lineEnd, end);
        const Rect line = boundsOfRange(lineStart, lineEnd - lineStart);
        if (!line.isEmpty()) lines.push_back(line);
        lineStart = lineEnd + 1;
    }
    return lines;
}

}  // namespace platform
