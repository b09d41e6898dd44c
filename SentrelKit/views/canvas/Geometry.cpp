#include <SentrelKit/views/canvas/Geometry.h>

#include <cmath>

namespace sentrel {

bool isFinite(const Point& point) noexcept {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

bool isFinite(const Rect& rect) noexcept {
    return isFinite(Point{rect.x, rect.y}) && std::isfinite(rect.width) && std::isfinite(rect.height);
}

} // namespace sentrel
