#pragma once
// A page's text in reading order as 16-bit units, with the box of every unit in page space.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"

namespace platform {

// One character's box as the engine keeps it: 32-bit corners. A page holds thousands and a job
// needs the boxes of its finds only, so they are turned into page rectangles when asked for.
struct CharBox {
    float x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    CharBox() = default;
    static CharBox corners(float minX, float minY, float maxX, float maxY) {
        CharBox box;
        box.x0 = minX, box.y0 = minY, box.x1 = maxX, box.y1 = maxY;
        return box;
    }
    // For pages made by hand.
    CharBox(const Rect& r);  // NOLINT(google-explicit-constructor)
    // The corners read as the decimals a PDF writer wrote (see DecimalFloat.h).
    Rect rect() const;
};

struct PageText {
    std::u16string text;         // lines separated by "\n", words by " "
    std::vector<CharBox> boxes;  // one per unit of text; separators the engine made get empty boxes
    std::optional<Rect> cropBox;  // the part of the page a reader sees, when known

    // The union of the boxes of the units in [start, start + length); all zero when the range
    // covers no unit with a box.
    Rect boundsOfRange(std::size_t start, std::size_t length) const;
    // False when bounds (of text on this page) lie wholly outside the crop box: such text is
    // never shown, so nobody can see or click a link on it. All-zero bounds stand for no text
    // and count as visible.
    bool isVisible(const Rect& bounds) const;
    // The bounds of the range's part on each line it covers, in order; lines where it covers no
    // unit with a box are left out.
    std::vector<Rect> lineBoundsOfRange(std::size_t start, std::size_t length) const;
};

}  // namespace platform
