// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Shape.h>

#include <utility>

namespace sentrel {

Shape::Shape(Rect frame) : View(frame) {}

Shape::Shape(Coder& coder) : View(coder) {}

void Shape::setColor(Color color) {
    setNeedsDisplay(std::exchange(color_, color) != color);
}

void Shape::leaveLineDefaults(bool rounded) const noexcept {
    Path::setDefaultLineCapStyle(rounded ? LineCap::round : LineCap::square);
    Path::setDefaultLineWidth(lineWidth_);
}

} // namespace sentrel
