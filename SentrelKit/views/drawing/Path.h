// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>
#include <SentrelKit/views/drawing/Geometry.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

namespace sentrel {

/// How a stroke ends.
enum class LineCap : std::uint8_t {
    butt = 0,   ///< at the end itself
    round = 1,  ///< with a half disc around the end
    square = 2, ///< half a line width past the end
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, LineCap value);

/// How a stroke turns a corner.
enum class LineJoin : std::uint8_t {
    miter = 0, ///< to a point, unless it were longer than the miter limit allows
    round = 1, ///< with an arc around the corner
    bevel = 2, ///< with the corner cut off
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, LineJoin value);

/// One step of a path. A move, a line and a close use the first point (a close none), a curve has its control points
/// first and its end last, an arc has its centre first.
struct PathElement {
    /// What the step does.
    enum class Kind : std::uint8_t {
        moveTo = 0,    ///< begins a new part of the figure
        lineTo = 1,    ///< a straight line
        curveTo = 2,   ///< a cubic curve
        closePath = 3, ///< a line back to where the part began
        arc = 4,       ///< a part of a circle, after a line to its start
    };

    Kind kind = Kind::moveTo;      ///< which of the fields count
    std::array<Point, 3> points{}; ///< points in the coordinates of the path
    double radius = 0.0;           ///< of an arc, points; a canvas draws none of one that is not above 0
    double startAngle = 0.0;       ///< of an arc, degrees
    double endAngle = 0.0;         ///< of an arc, degrees

    /// This arc from the same place to the same place, with its start less than a turn from 0 and a sweep of less than
    /// two turns: of a sweep past a full turn, the full circle and what goes beyond the last whole turn. For a canvas,
    /// since drawing libraries do not end with angles of some 1e17 degrees. Not a number for angles that are not
    /// finite.
    [[nodiscard]] SENTREL_API PathElement boundedArc() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const PathElement&, const PathElement&) = default;
};

/// A figure to fill or stroke: steps in order, and the style of its stroke. Coordinates and widths are points; none is
/// checked or clamped. A value; main thread like all drawing.
class SENTREL_API Path {
public:
    /// An empty path whose line width and cap are the process's defaults of this moment.
    Path() noexcept;

    /// Begins a new part of the figure at a point.
    void moveTo(Point point);

    /// Adds a straight line to a point.
    void lineTo(Point point);

    /// Adds a cubic curve to `end`.
    void curveTo(Point control1, Point control2, Point end);

    /// Adds a line back to where the part began.
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

    /// A path of what `appendEllipse` adds.
    [[nodiscard]] static Path ellipse(Rect rect);

    /// A path of a rectangle with sharp corners; empty for a rectangle without width or height.
    [[nodiscard]] static Path rect(Rect rect);

    /// A path of what `appendRoundedRect` adds.
    [[nodiscard]] static Path roundedRect(Rect rect, double xRadius, double yRadius);

    /// A path of one straight line.
    [[nodiscard]] static Path line(Point from, Point to);

    /// Whether there is no step.
    [[nodiscard]] bool empty() const noexcept { return elements_.empty(); }

    /// The number of steps.
    [[nodiscard]] std::size_t elementCount() const noexcept { return elements_.size(); }

    /// The steps in order; good until the path changes.
    [[nodiscard]] const std::vector<PathElement>& elements() const noexcept { return elements_; }

    /// Adds an element as it is.
    void append(const PathElement& element) { elements_.push_back(element); }

    /// The same figure in moves, lines, curves and closes only, element by element and in order, for a shape layer.
    /// Arcs become curves of at most an eighth turn; an element of an unknown kind becomes a move to its first point.
    [[nodiscard]] Path cgPath() const;

    /// The width of strokes in points; 0 is the thinnest line that the device can show, and so is a negative one.
    [[nodiscard]] double lineWidth() const noexcept { return lineWidth_; }

    /// The width of strokes in points.
    void setLineWidth(double width) noexcept { lineWidth_ = width; }

    /// How strokes end.
    [[nodiscard]] LineCap lineCapStyle() const noexcept { return lineCapStyle_; }

    /// How strokes end.
    void setLineCapStyle(LineCap cap) noexcept { lineCapStyle_ = cap; }

    /// How strokes turn corners; with miters from the start.
    [[nodiscard]] LineJoin lineJoinStyle() const noexcept { return lineJoinStyle_; }

    /// How strokes turn corners.
    void setLineJoinStyle(LineJoin join) noexcept { lineJoinStyle_ = join; }

    /// The longest miter, in line widths; 10.0 from the start.
    [[nodiscard]] double miterLimit() const noexcept { return miterLimit_; }

    /// The longest miter, in line widths. A canvas may hold it to 1 to 100.
    void setMiterLimit(double limit) noexcept { miterLimit_ = limit; }

    /// Lengths of dashes and gaps in turn, in points; empty, as from the start, is a solid line.
    [[nodiscard]] const std::vector<double>& lineDash() const noexcept { return lineDash_; }

    /// How far into the pattern a stroke begins, in points.
    [[nodiscard]] double lineDashPhase() const noexcept { return lineDashPhase_; }

    /// Lengths of dashes and gaps in turn, in points, and how far into them a stroke begins. An empty pattern is a
    /// solid line, and so is one that cannot be drawn: of negative lengths, say, or finer than a pixel.
    void setLineDash(std::vector<double> pattern, double phase);

    /// The line width in points that every later path of the process starts with: 1.0 until a line or a bar was drawn,
    /// which leave their own behind. Any thread.
    [[nodiscard]] static double defaultLineWidth() noexcept;

    /// The line width in points that every later path of the process starts with. Any thread.
    static void setDefaultLineWidth(double width) noexcept;

    /// The cap that every later path of the process starts with: butt until a line or a bar was drawn, which leave
    /// their own behind. Any thread.
    [[nodiscard]] static LineCap defaultLineCapStyle() noexcept;

    /// The cap that every later path of the process starts with. Any thread.
    static void setDefaultLineCapStyle(LineCap cap) noexcept;

    /// Whether all steps and the style are equal.
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

/// The point of a circle at an angle in degrees, from the x axis towards the y axis. Any thread.
[[nodiscard]] SENTREL_API Point pointOnCircle(Point center, double radius, double degrees) noexcept;

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, PathElement::Kind value);

} // namespace sentrel
