#pragma once
// Rectangles in PDF page space: doubles, origin at the lower left, as the document model gives
// them. The predicates follow the platform's edge conventions that the link tests rely on.

#include <algorithm>

namespace platform {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Size {
    double width = 0;
    double height = 0;
    bool operator==(const Size&) const = default;
};

struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    Point origin() const { return {x, y}; }
    // Computed as (x + x + width) * 0.5 so that results match the platform bit for bit.
    Point centre() const { return {(x + x + width) * 0.5, (y + y + height) * 0.5}; }
    bool isEmpty() const { return !(width > 0) || !(height > 0); }
    bool operator==(const Rect&) const = default;
};

// Lower edges included, upper edges excluded.
inline bool containsPoint(const Rect& r, Point p) {
    return p.x >= r.minX() && p.x < r.maxX() && p.y >= r.minY() && p.y < r.maxY();
}

// A common area of positive size; an empty rectangle intersects nothing.
inline bool intersects(const Rect& a, const Rect& b) {
    if (a.isEmpty() || b.isEmpty()) return false;
    return a.minX() < b.maxX() && b.minX() < a.maxX() && a.minY() < b.maxY() &&
           b.minY() < a.maxY();
}

// The inner rectangle is not empty and lies within the outer one, edges included.
inline bool containsRect(const Rect& outer, const Rect& inner) {
    if (inner.isEmpty()) return false;
    return inner.minX() >= outer.minX() && inner.maxX() <= outer.maxX() &&
           inner.minY() >= outer.minY() && inner.maxY() <= outer.maxY();
}

// Union of two rectangles where an empty one (all zero) contributes nothing.
inline Rect unionRect(const Rect& a, const Rect& b) {
    if (a.width <= 0 && a.height <= 0 && a.x == 0 && a.y == 0) return b;
    if (b.width <= 0 && b.height <= 0 && b.x == 0 && b.y == 0) return a;
    double x0 = std::min(a.minX(), b.minX());
    double y0 = std::min(a.minY(), b.minY());
    double x1 = std::max(a.maxX(), b.maxX());
    double y1 = std::max(a.maxY(), b.maxY());
    return {x0, y0, x1 - x0, y1 - y0};
}

}  // namespace platform
