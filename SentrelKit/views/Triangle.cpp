// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Triangle.h>

#include <algorithm>

namespace sentrel {

Triangle::Triangle(Rect frame) : Shape(frame) {}

Triangle::Triangle(Coder& coder) : Shape(coder) {}

void Triangle::drawRect(Canvas& canvas, Rect rect) {
    const double side = std::min(rect.height, rect.width);
    if (fill())
        setLineWidth(0.0); // meant so: a filled triangle forgets its line width
    const double half = lineWidth() / 2.0;

    Path path;
    path.moveTo({half, half});
    path.lineTo({side / 2.0, side - half});
    path.lineTo({side - half, half});
    path.close();
    path.setLineJoinStyle(LineJoin::round);
    path.setLineWidth(lineWidth());
    if (fill())
        canvas.fill(path, color());
    else
        canvas.stroke(path, color());
}

} // namespace sentrel
