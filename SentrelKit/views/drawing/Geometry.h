// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Points, sizes, rectangles and affine transforms, in points. Plain values: nothing is checked or clamped.

#include <SentrelKit/Export.h>

#include <algorithm>
#include <iosfwd>

namespace sentrel {

/// A place.
struct Point {
    double x = 0.0; ///< points, growing to the right
    double y = 0.0; ///< points, growing downward in flipped coordinates and upward in others

    /// Whether both coordinates are equal.
    friend bool operator==(const Point&, const Point&) = default;
};
/// Writes it as "{x, y}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Point& value);

/// An extent.
struct Size {
    double width = 0.0;  ///< points
    double height = 0.0; ///< points

    /// Whether both sides are equal.
    friend bool operator==(const Size&, const Size&) = default;
};
/// Writes it as "{width, height}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Size& value);

/// A rectangle along the axes.
struct Rect {
    double x = 0.0;      ///< points, of the left edge
    double y = 0.0;      ///< points, of the edge with the smaller y
    double width = 0.0;  ///< points; a negative one is kept, and holds no point
    double height = 0.0; ///< points; a negative one is kept, and holds no point

    /// The rectangle without a border of `margin` on each side; more than there is gives a negative size.
    [[nodiscard]] constexpr Rect inset(double margin) const noexcept {
        return {x + margin, y + margin, width - 2.0 * margin, height - 2.0 * margin};
    }

    /// Whether the point lies inside, so that every pixel belongs to one of two neighbours: the edges that are left and
    /// upper on screen belong to the rectangle, the other two do not. `flipped` says that y grows downward there.
    [[nodiscard]] constexpr bool contains(Point point, bool flipped = true) const noexcept {
        const bool inColumns = point.x >= x && point.x < x + width;
        const bool inRows = flipped ? point.y >= y && point.y < y + height : point.y > y && point.y <= y + height;
        return inColumns && inRows;
    }

    /// The point in its middle.
    [[nodiscard]] constexpr Point center() const noexcept { return {x + width / 2.0, y + height / 2.0}; }

    /// Whether all fields are equal.
    friend bool operator==(const Rect&, const Rect&) = default;
};
/// Writes it as "{x, y, width, height}" with its figures.
SENTREL_API std::ostream& operator<<(std::ostream& stream, const Rect& value);

/// Maps (x, y) to (a·x + c·y + tx, b·x + d·y + ty).
struct Transform {
    double a = 1.0;  ///< of x in the new x
    double b = 0.0;  ///< of x in the new y
    double c = 0.0;  ///< of y in the new x
    double d = 1.0;  ///< of y in the new y
    double tx = 0.0; ///< added to the new x, points
    double ty = 0.0; ///< added to the new y, points

    /// A shift by x and y points.
    [[nodiscard]] static constexpr Transform translation(double x, double y) noexcept { return {1, 0, 0, 1, x, y}; }

    /// A growth by a factor along each axis, from the origin; a negative one turns the axis round.
    [[nodiscard]] static constexpr Transform scale(double x, double y) noexcept { return {x, 0, 0, y, 0, 0}; }

    /// A turn about the origin from the x axis towards the y axis, in radians.
    [[nodiscard]] SENTREL_API static Transform rotation(double radians) noexcept;

    /// This transform after `first`: what `first` gives is what this one maps.
    [[nodiscard]] constexpr Transform after(const Transform& first) const noexcept {
        return {a * first.a + c * first.b, b * first.a + d * first.b,        a * first.c + c * first.d,
                b * first.c + d * first.d, a * first.tx + c * first.ty + tx, b * first.tx + d * first.ty + ty};
    }

    /// What the transform makes of a point.
    [[nodiscard]] constexpr Point apply(Point p) const noexcept {
        return {a * p.x + c * p.y + tx, b * p.x + d * p.y + ty};
    }

    /// Whether all fields are equal.
    friend bool operator==(const Transform&, const Transform&) = default;
};

} // namespace sentrel
