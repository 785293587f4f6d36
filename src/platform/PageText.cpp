#include "platform/PageText.h"

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

}  // namespace platform
