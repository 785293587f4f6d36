#include "platform/PageText.h"

#include <algorithm>

namespace platform {

Rect PageText::boundsOfRange(std::size_t start, std::size_t length) const {
    Rect bounds;
    for (std::size_t i = start; i < boxes.size() && i - start < length; ++i) {
        bounds = unionRect(bounds, boxes[i]);
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
