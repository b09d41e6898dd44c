// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Circle.h>

namespace sentrel {

Circle::Circle(Rect frame) : Shape(frame) {}

Circle::Circle(Coder& coder) : Shape(coder) {}

void Circle::drawRect(Canvas& canvas, Rect rect) {
    if (fill()) {
        canvas.fill(Path::ellipse(rect), color());
        return;
    }
    const double margin = lineWidth();
    Path path = Path::ellipse({margin, margin, rect.width - 2.0 * margin, rect.height - 2.0 * margin});
    path.setLineWidth(lineWidth());
    canvas.stroke(path, color());
}

} // namespace sentrel
