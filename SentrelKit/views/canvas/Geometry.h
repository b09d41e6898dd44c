#pragma once

#include <SentrelKit/Export.h>

namespace sentrel {

/// A point, in points of the view's coordinates.
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

/// A size in points.
struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// A rectangle in points.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const Rect&, const Rect&) = default;
};

/// True if every component is a finite number.
[[nodiscard]] SENTREL_API bool isFinite(const Point& point) noexcept;
[[nodiscard]] SENTREL_API bool isFinite(const Rect& rect) noexcept;

} // namespace sentrel
