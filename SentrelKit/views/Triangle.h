#pragma once

/// An isosceles triangle in the square at the view's origin, pointing up, or down when flipped. Drawing it filled sets
/// its line width to 0 for good: an outline drawn afterwards has that width until the host sets another. Main thread.

#include <SentrelKit/views/Shape.h>

namespace sentrel {

class SENTREL_API Triangle : public Shape {
public:
    explicit Triangle(Rect frame = {});
    explicit Triangle(Coder& coder);

    void drawRect(Canvas& canvas, Rect rect) override;
};

} // namespace sentrel
