// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Bar.h>

#include <SentrelKit/views/detail/EasedValue.h>
#include <SentrelKit/views/detail/PercentText.h>
#include <SentrelKit/views/detail/TrackColor.h>

#include <utility>

namespace sentrel {

Bar::Bar(Rect frame) : Shape(frame) {}

Bar::Bar(Coder& coder) : Shape(coder) {}

void Bar::setPercent(double percent) {
    const double shown = easedValueNow(*this, percent_);
    const bool changes = std::exchange(percent_, percent) != percent;
    setNeedsDisplay(changes);
    if (eases_ && changes)
        easeFrom(*this, shown);
}

void Bar::setEases(bool eases) {
    if (std::exchange(eases_, eases) == eases)
        return;
    setWantsLayer(eases);
    setNeedsDisplay(true);
}

void Bar::drawRect(Canvas& canvas, Rect rect) {
    const double y = rect.height / 2.0 - lineWidth() / 2.0; // meant so: off the middle by half its width
    leaveLineDefaults(rounded_);
    canvas.stroke(Path::line({0.0, y}, {rect.width, y}), trackColor(color(), effectiveAppearance()));
    canvas.stroke(Path::line({0.0, y}, {rect.width * easedValue(*this, percent_) / 100.0, y}), color());
}

std::optional<std::string> Bar::accessibilityValue() const {
    return percentText(percent_);
}

std::optional<double> Bar::accessibilityLevel() const {
    return percentLevel(percent_);
}

} // namespace sentrel
