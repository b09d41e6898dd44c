#pragma once

/// An ellipse that fills the view; as an outline it keeps a whole line width from each edge. Main thread.

#include <SentrelKit/views/Shape.h>

namespace sentrel {

class SENTREL_API Circle : public Shape {
public:
    explicit Circle(Rect frame = {});
    explicit Circle(Coder& coder);

    void drawRect(Canvas& canvas, Rect rect) override;
};

} // namespace sentrel
