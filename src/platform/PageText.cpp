#include "platform/PageText.h"

namespace platform {

Rect PageText::boundsOfRange(std::size_t start, std::size_t length) const {
    Rect bounds;
    for (std::size_t i = start; i < boxes.size() && i - start < length; ++i) {
        bounds = unionRect(bounds, boxes[i]);
    }
    return bounds;
}

}  // namespace platform
