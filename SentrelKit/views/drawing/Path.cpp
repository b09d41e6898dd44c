// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/drawing/Path.h>

#include <SentrelKit/base/system/detail/Relaxed.h>

#include <cmath>
#include <utility>

namespace sentrel {

namespace {

constexpr double pi = 3.14159265358979323846;

// Control-point distance of the cubic curve that stands for a quarter of a unit circle: 4/3 · (√2 − 1).
constexpr double quarterCurve = 0.55228474983079339840;

Relaxed<double> processLineWidth{1.0};
Relaxed<LineCap> processLineCap{LineCap::butt};

double radians(double degrees) noexcept {
    return degrees * pi / 180.0;
}

void appendArcCurves(Path& path, const PathElement& arc) {
    const Point center = arc.points[0];
    const double sweep = arc.endAngle - arc.startAngle;
    const Point first = pointOnCircle(center, arc.radius, std::isfinite(sweep) ? arc.startAngle : sweep);
    if (path.empty())
        path.moveTo(first);
    else
        path.lineTo(first);
    if (!std::isfinite(sweep) || sweep == 0.0)
        return;
    const int pieces = static_cast<int>(std::ceil(std::abs(sweep) / 45.0));
    const double step = radians(sweep / pieces);
    const double handle = 4.0 / 3.0 * std::tan(step / 4.0) * arc.radius;
    for (int i = 0; i < pieces; ++i) {
        const double from = radians(arc.startAngle) + step * i;
        const double to = from + step;
        const Point a{center.x + arc.radius * std::cos(from), center.y + arc.radius * std::sin(from)};
        const Point b{center.x + arc.radius * std::cos(to), center.y + arc.radius * std::sin(to)};
        path.curveTo({a.x - handle * std::sin(from), a.y + handle * std::cos(from)},
                     {b.x + handle * std::sin(to), b.y - handle * std::cos(to)}, b);
    }
}

bool isDegenerate(Rect rect) noexcept {
    return !(rect.width > 0.0) || !(rect.height > 0.0);
}

} // namespace

Point pointOnCircle(Point center, double radius, double degrees) noexcept {
    return {center.x + radius * std::cos(radians(degrees)), center.y + radius * std::sin(radians(degrees))};
}

PathElement PathElement::boundedArc() const noexcept {
    PathElement bounded = *this;
    bounded.startAngle = std::fmod(startAngle, 360.0);
    const double sweep = endAngle - startAngle;
    if (std::abs(sweep) > 360.0) {
        const double beyond = std::fmod(std::fmod(endAngle, 360.0) - bounded.startAngle, 360.0);
        const double turn = std::copysign(360.0, sweep);
        bounded.endAngle = bounded.startAngle + turn + beyond + (beyond * turn < 0.0 ? turn : 0.0);
    } else {
        bounded.endAngle = bounded.startAngle + sweep;
    }
    return bounded;
}

Path::Path() noexcept : lineWidth_(defaultLineWidth()), lineCapStyle_(defaultLineCapStyle()) {}

void Path::moveTo(Point point) {
    elements_.push_back({PathElement::Kind::moveTo, {point}});
}

void Path::lineTo(Point point) {
    elements_.push_back({PathElement::Kind::lineTo, {point}});
}

void Path::curveTo(Point control1, Point control2, Point end) {
    elements_.push_back({PathElement::Kind::curveTo, {control1, control2, end}});
}

void Path::close() {
    elements_.push_back({PathElement::Kind::closePath, {}});
}

void Path::appendArc(Point center, double radius, double startAngle, double endAngle) {
    elements_.push_back({PathElement::Kind::arc, {center}, radius, startAngle, endAngle});
}

void Path::appendEllipse(Rect rect) {
    appendRoundedRect(rect, rect.width / 2.0, rect.height / 2.0);
}

void Path::appendRoundedRect(Rect rect, double xRadius, double yRadius) {
    if (isDegenerate(rect))
        return;
    const double rx = std::clamp(xRadius, 0.0, rect.width / 2.0);
    const double ry = std::clamp(yRadius, 0.0, rect.height / 2.0);
    const double left = rect.x;
    const double right = rect.x + rect.width;
    const double low = rect.y;
    const double high = rect.y + rect.height;
    if (rx == 0.0 || ry == 0.0) {
        elements_.reserve(elements_.size() + 5);
        moveTo({left, low});
        lineTo({right, low});
        lineTo({right, high});
        lineTo({left, high});
        close();
        return;
    }
    const double hx = rx * (1.0 - quarterCurve);
    const double hy = ry * (1.0 - quarterCurve);
    const bool straightX = rx < rect.width / 2.0;
    const bool straightY = ry < rect.height / 2.0;
    elements_.reserve(elements_.size() + 10);
    moveTo({right, high - ry});
    curveTo({right, high - hy}, {right - hx, high}, {right - rx, high});
    if (straightX)
        lineTo({left + rx, high});
    curveTo({left + hx, high}, {left, high - hy}, {left, high - ry});
    if (straightY)
        lineTo({left, low + ry});
    curveTo({left, low + hy}, {left + hx, low}, {left + rx, low});
    if (straightX)
        lineTo({right - rx, low});
    curveTo({right - hx, low}, {right, low + hy}, {right, low + ry});
    close();
}

Path Path::ellipse(Rect rect) {
    Path path;
    path.appendEllipse(rect);
    return path;
}

Path Path::rect(Rect rect) {
    return roundedRect(rect, 0.0, 0.0);
}

Path Path::roundedRect(Rect rect, double xRadius, double yRadius) {
    Path path;
    path.appendRoundedRect(rect, xRadius, yRadius);
    return path;
}

Path Path::line(Point from, Point to) {
    Path path;
    path.elements_.reserve(2);
    path.moveTo(from);
    path.lineTo(to);
    return path;
}

Path Path::cgPath() const {
    Path result = *this;
    result.elements_.clear();
    for (const PathElement& element : elements_) {
        switch (element.kind) {
        case PathElement::Kind::lineTo:
            result.lineTo(element.points[0]);
            break;
        case PathElement::Kind::curveTo:
            result.curveTo(element.points[0], element.points[1], element.points[2]);
            break;
        case PathElement::Kind::closePath:
            result.close();
            break;
        case PathElement::Kind::arc:
            appendArcCurves(result, element.boundedArc());
            break;
        case PathElement::Kind::moveTo:
        default:
            result.moveTo(element.points[0]);
            break;
        }
    }
    return result;
}

void Path::setLineDash(std::vector<double> pattern, double phase) {
    lineDash_ = std::move(pattern);
    lineDashPhase_ = phase;
}

double Path::defaultLineWidth() noexcept {
    return processLineWidth;
}

void Path::setDefaultLineWidth(double width) noexcept {
    processLineWidth = width;
}

LineCap Path::defaultLineCapStyle() noexcept {
    return processLineCap;
}

void Path::setDefaultLineCapStyle(LineCap cap) noexcept {
    processLineCap = cap;
}

} // namespace sentrel
