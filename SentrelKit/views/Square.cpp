// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Square.h>

#include <utility>

namespace sentrel {

Square::Square(Rect frame) : Shape(frame) {}

Square::Square(Coder& coder) : Shape(coder) {}

void Square::setMyLabel(std::weak_ptr<TextField> label) noexcept {
    myLabel_ = std::move(label);
}

void Square::drawRect(Canvas& canvas, Rect rect) {
    if (fill()) {
        canvas.fill(Path::roundedRect(rect, cornerRadius_, cornerRadius_), color());
        return;
    }
    const double margin = lineWidth();
    Path path = Path::roundedRect({margin, margin, rect.width - 2.0 * margin, rect.height - 2.0 * margin},
                                  cornerRadius_, cornerRadius_);
    path.setLineWidth(lineWidth());
    canvas.stroke(path, color());
}

} // namespace sentrel
