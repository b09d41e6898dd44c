// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/CircleChart.h>

#include <SentrelKit/views/FUIFont.h>
#include <SentrelKit/views/detail/EasedValue.h>
#include <SentrelKit/views/detail/PercentText.h>
#include <SentrelKit/views/detail/TrackColor.h>
#include <SentrelKit/views/drawing/Canvas.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace sentrel {

CircleChart::CircleChart(Rect frame) : View(frame) {}

CircleChart::CircleChart(Coder& coder) : View(coder) {}

void CircleChart::setMyLabel(std::weak_ptr<TextField> label) noexcept {
    myLabel_ = std::move(label);
}

std::shared_ptr<TextField> CircleChart::addLabel() {
    auto label = std::make_shared<TextField>();
    label->setAlignment(TextAlignment::center);
    label->setStringValue(percentText(percent_));
    madeLabel_ = label;
    setMyLabel(label);
    addSubview(label);
    return label;
}

void CircleChart::layout() {
    const std::shared_ptr<TextField> label = madeLabel_.lock();
    if (!label)
        return;
    constexpr double heightInRing = 0.2; // of the diameter: "100%" keeps clear of the line
    const double size = std::min(bounds().width, bounds().height) * heightInRing;
    const std::optional<Font> bold = FUIFont::bold(size);
    label->setFont(bold ? *bold : Font::systemFont(size));
    label->setFrame(bounds());
}

void CircleChart::setColor(Color color) {
    setNeedsDisplay(std::exchange(color_, color) != color);
}

void CircleChart::setPercent(double percent) {
    // Not equal also when either is not a number.
    const bool roundsDifferently = std::round(percent) != std::round(percent_);
    const double shown = easedValueNow(*this, percent_);
    percent_ = percent;
    if (!roundsDifferently)
        return;
    if (const std::shared_ptr<TextField> label = myLabel())
        label->setStringValue(percentText(percent));
    setNeedsDisplay(true);
    if (eases_)
        easeFrom(*this, shown);
}

void CircleChart::setEases(bool eases) {
    if (std::exchange(eases_, eases) == eases)
        return;
    setWantsLayer(eases);
    setNeedsDisplay(true);
}

void CircleChart::drawRect(Canvas& canvas, Rect rect) {
    const double side = std::min(rect.width, rect.height);
    const double diameter = side - 2.0 * lineWidth_;
    const Point center{rect.width / 2.0, rect.height / 2.0};

    Path track = Path::ellipse({center.x - diameter / 2.0, center.y - diameter / 2.0, diameter, diameter});
    track.setLineWidth(lineWidth_);
    canvas.stroke(track, trackColor(color_, effectiveAppearance()));

    const double shown = easedValue(*this, percent_);
    if (shown >= 0.5) {
        // An end past every number is still the end of a full ring.
        const double end = std::min(270.0 + shown / 100.0 * 360.0, std::numeric_limits<double>::max());
        Path arc;
        arc.appendArc(center, diameter / 2.0, 270.0, end);
        arc.setLineWidth(lineWidth_);
        canvas.stroke(arc, color_);
    }
}

std::optional<std::string> CircleChart::accessibilityValue() const {
    return percentText(percent_);
}

std::optional<double> CircleChart::accessibilityLevel() const {
    return percentLevel(percent_);
}

} // namespace sentrel
