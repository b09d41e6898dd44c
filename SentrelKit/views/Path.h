#pragma once

/// A figure to fill or stroke, with the style of its stroke. A value; main thread like all drawing.

#include <SentrelKit/Export.h>
#include <SentrelKit/views/Geometry.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace sentrel {

enum class LineCap : std::uint8_t { butt = 0, round = 1, square = 2 };
enum class LineJoin : std::uint8_t { miter = 0, round = 1, bevel = 2 };

/// One step of a path. A move, a line and a close use the first point (a close none), a curve has its control points
/// first and its end last, an arc has its centre first.
struct PathElement {
    enum class Kind : std::uint8_t { moveTo = 0, lineTo = 1, curveTo = 2, closePath = 3, arc = 4 };

    Kind kind = Kind::moveTo;
    std::array<Point, 3> points{};
    double radius = 0.0;     ///< of an arc
    double startAngle = 0.0; ///< of an arc, degrees
    double endAngle = 0.0;   ///< of an arc, degrees

    /// This arc from the same place to the same place, with its start less than a turn from 0 and a sweep of less than
    /// two turns: of a sweep past a full turn, the full circle and what goes beyond the last whole turn. For a canvas,
    /// since drawing libraries do not end with angles of some 1e17 degrees. Not a number for angles that are not
    /// finite.
    [[nodiscard]] SENTREL_API PathElement boundedArc() const noexcept;

    friend bool operator==(const PathElement&, const PathElement&) = default;
};

class SENTREL_API Path {
public:
    /// An empty path whose line width and cap are the process's defaults of this moment.
    Path() noexcept;

    void moveTo(Point point);
    void lineTo(Point point);
    void curveTo(Point control1, Point control2, Point end);
    void close();

    /// Adds an arc from one angle to the other, in degrees, in the sense of growing angles (counter-clockwise where y
    /// grows upward, clockwise on screen in a flipped view). A line leads to its start if the path has a point already.
    /// Nothing is normalised: past 360 degrees it overlaps itself, and an end below the start sweeps backwards.
    void appendArc(Point center, double radius, double startAngle, double endAngle);

    /// Adds the ellipse inscribed in a rectangle; nothing for a rectangle without width or height.
    void appendEllipse(Rect rect);

    /// Adds a rectangle whose corners are elliptic quarters, radii up to half its sides; nothing for a rectangle
    /// without width or height.
    void appendRoundedRect(Rect rect, double xRadius, double yRadius);

    [[nodiscard]] static Path ellipse(Rect rect);
    [[nodiscard]] static Path rect(Rect rect);
    [[nodiscard]] static Path roundedRect(Rect rect, double xRadius, double yRadius);
    [[nodiscard]] static Path line(Point from, Point to);

    [[nodiscard]] bool empty() const noexcept { return elements_.empty(); }
    [[nodiscard]] std::size_t elementCount() const noexcept { return elements_.size(); }
    [[nodiscard]] const std::vector<PathElement>& elements() const noexcept { return elements_; }

    /// Adds an element as it is.
    void append(const PathElement& element) { elements_.push_back(element); }

    /// The same figure in moves, lines, curves and closes only, element by element and in order, for a shape layer.
    /// Arcs become curves of at most an eighth turn; an element of an unknown kind becomes a move to its first point.
    [[nodiscard]] Path cgPath() const;

    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }
    void setLineWidth(double width) noexcept { lineWidth_ = width; }
    [[nodiscard]] LineCap lineCapStyle() const noexcept { return lineCapStyle_; }
    void setLineCapStyle(LineCap cap) noexcept { lineCapStyle_ = cap; }
    [[nodiscard]] LineJoin lineJoinStyle() const noexcept { return lineJoinStyle_; }
    void setLineJoinStyle(LineJoin join) noexcept { lineJoinStyle_ = join; }
    [[nodiscard]] double miterLimit() const noexcept { return miterLimit_; }
    void setMiterLimit(double limit) noexcept { miterLimit_ = limit; }
    [[nodiscard]] const std::vector<double>& lineDash() const noexcept { return lineDash_; }
    [[nodiscard]] double lineDashPhase() const noexcept { return lineDashPhase_; }

    /// Lengths of dashes and gaps in turn, in points; an empty pattern is a solid line.
    void setLineDash(std::vector<double> pattern, double phase);

    // What every later path of the process starts with: width 1.0 and butt caps until a line or a bar was drawn, which
    // leave their own behind. Any thread.
    [[nodiscard]] static double defaultLineWidth() noexcept;
    static void setDefaultLineWidth(double width) noexcept;
    [[nodiscard]] static LineCap defaultLineCapStyle() noexcept;
    static void setDefaultLineCapStyle(LineCap cap) noexcept;

    friend bool operator==(const Path&, const Path&) = default;

private:
    std::vector<PathElement> elements_;
    double lineWidth_;
    double miterLimit_ = 10.0;
    std::vector<double> lineDash_;
    double lineDashPhase_ = 0.0;
    LineCap lineCapStyle_;
    LineJoin lineJoinStyle_ = LineJoin::miter;
};

/// The point of a circle at an angle in degrees.
[[nodiscard]] SENTREL_API Point pointOnCircle(Point center, double radius, double degrees) noexcept;

} // namespace sentrel
