// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/HorizontalLine.h>

namespace sentrel {

HorizontalLine::HorizontalLine(Rect frame) : Shape(frame) {}

HorizontalLine::HorizontalLine(Coder& coder) : Shape(coder) {}

void HorizontalLine::drawRect(Canvas& canvas, Rect rect) {
    const double y = rect.height / 2.0 - lineWidth() / 2.0; // meant so: off the middle by half its width
    leaveLineDefaults(rounded_);
    canvas.stroke(Path::line({0.0, y}, {rect.width, y}), color());
}

} // namespace sentrel
