// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Shape.h>

namespace sentrel {

/// An isosceles triangle in the square at the view's origin, pointing up, or down when flipped. Drawing it filled sets
/// its line width to 0 for good: an outline drawn afterwards has that width until the host sets another. Main thread.
class SENTREL_API Triangle : public Shape {
public:
    /// A filled triangle at a frame of its superview's coordinates.
    explicit Triangle(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Triangle(Coder& coder);

    void drawRect(Canvas& canvas, Rect rect) override;
};

} // namespace sentrel
