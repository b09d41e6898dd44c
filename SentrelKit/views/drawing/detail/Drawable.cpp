// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/detail/Drawable.h>

#include <algorithm>
#include <cmath>

namespace sentrel {

namespace {

bool isFinite(const PathElement& element) noexcept {
    switch (element.kind) {
    case PathElement::Kind::closePath:
        return true;
    case PathElement::Kind::curveTo:
        return isFinite(element.points[0]) && isFinite(element.points[1]) && isFinite(element.points[2]);
    case PathElement::Kind::arc:
        return isFinite(element.points[0]) && std::isfinite(element.radius) && std::isfinite(element.startAngle) &&
               std::isfinite(element.endAngle);
    case PathElement::Kind::moveTo:
    case PathElement::Kind::lineTo:
    default:
        return isFinite(element.points[0]);
    }
}

} // namespace

bool isFinite(Point point) noexcept {
    return std::isfinite(point.x) && std::isfinite(point.y);
}

bool isFinite(const Color& color) noexcept {
    return std::isfinite(color.red) && std::isfinite(color.green) && std::isfinite(color.blue) &&
           std::isfinite(color.alpha);
}

bool isFinite(const std::vector<Color>& colors) noexcept {
    return std::all_of(colors.begin(), colors.end(), [](const Color& color) { return isFinite(color); });
}

bool isFinite(const Path& path) noexcept {
    return std::all_of(path.elements().begin(), path.elements().end(),
                       [](const PathElement& element) { return isFinite(element); });
}

bool isUsable(const Transform& transform) noexcept {
    const double determinant = transform.a * transform.d - transform.b * transform.c;
    return std::isfinite(determinant) && std::abs(determinant) > 1.0e-12 && std::isfinite(transform.tx) &&
           std::isfinite(transform.ty);
}

double longestStep(const Transform& transform) noexcept {
    return std::sqrt(std::max(transform.a * transform.a + transform.b * transform.b,
                              transform.c * transform.c + transform.d * transform.d));
}

bool isUsable(const std::vector<double>& dash, double phase, double scale) noexcept {
    double period = 0.0;
    for (const double length : dash) {
        if (!std::isfinite(length) || length < 0.0)
            return false;
        period += length;
    }
    return std::isfinite(phase) && std::isfinite(period) && period * scale >= 1.0;
}

double shiftToMiddle(double baseline, double capHeight, double room) noexcept {
    const double most = std::max(room, 0.0) / 2.0;
    return capHeight > 0.0 ? std::clamp(capHeight / 2.0 - baseline, -most, most) : 0.0;
}

} // namespace sentrel
