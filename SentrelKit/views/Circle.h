// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/views/Shape.h>

namespace sentrel {

/// An ellipse that fills the view; as an outline it keeps a whole line width from each edge. Main thread.
class SENTREL_API Circle : public Shape {
public:
    /// A filled ellipse at a frame of its superview's coordinates.
    explicit Circle(Rect frame = {});

    /// The same at the frame that an archive holds.
    explicit Circle(Coder& coder);

    void drawRect(Canvas& canvas, Rect rect) override;
};

} // namespace sentrel
