// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Charts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace dashboard {

using namespace sentrel;

namespace {

// Hairlines on whole rows of pixels, so that they are equally strong.
void drawGuide(Canvas& canvas, double y, double width, const Color& color) {
    const auto pixels = canvas.toPixels();
    const double scale = pixels && pixels->d != 0 ? pixels->d : 1;
    const double offset = pixels ? pixels->ty : 0;
    const double row = (std::round(y * scale + offset) - offset) / scale;
    canvas.fill(Path::rect({0, row, width, 1 / std::abs(scale)}), color);
}

std::shared_ptr<Label> addTo(View& view, const std::string& text, TextAlignment alignment) {
    auto label = std::make_shared<Label>(TextStyle::caption, text, alignment);
    label->setTextColor(FUIColor::white());
    view.addSubview(label);
    return label;
}

} // namespace

std::int64_t peakOf(const std::vector<std::int64_t>& points) {
    return points.empty() ? 0 : *std::max_element(points.begin(), points.end());
}

Sparkline::Sparkline(const std::string& name, Color color, std::optional<std::int64_t> scale)
    : scale_(scale), line_(std::make_shared<LineChart>()) {
    line_->setSparkline(true);
    line_->setGradient(true);
    line_->setBackground(color);
    line_->setDataPoints({});
    line_->setAccessibilityName(name);
    addSubview(line_);
}

void Sparkline::show(const Recording& recording) {
    std::vector<std::int64_t> points = recording.points();
    if (points == line_->dataPoints())
        return; // a quiet figure draws no frame
    if (scale_)
        height_ = std::clamp(static_cast<double>(peakOf(points)) / static_cast<double>(*scale_), 0.0, 1.0);
    layout();
    line_->setDataPoints(std::move(points));
    line_->setNeedsDisplay(true);
}

void Sparkline::drawRect(Canvas& canvas, Rect rect) {
    const Color color = lineColor(effectiveAppearance());
    for (const double y : {1.0, rect.height / 2, rect.height - 1})
        drawGuide(canvas, y, rect.width, color);
}

void Sparkline::layout() {
    constexpr double stroke = 2; // which the line needs to be seen at zero
    const double height = std::max(stroke + (bounds().height - stroke) * height_, 0.0);
    line_->setFrame({0, bounds().height - height, bounds().width, height});
}

HistoryCard::HistoryCard(const std::string& name)
    : title_(addTo(*this, name, TextAlignment::left)), peak_(addTo(*this, {}, TextAlignment::right)),
      begin_(addTo(*this, {}, TextAlignment::left)), end_(addTo(*this, "now", TextAlignment::right)) {
    title_->setFont(fontOf(TextStyle::title));
    setBackground(FUIColor::wetAsphalt());
    setGradient(true);
    setDataPoints({});
    setAccessibilityName(name);
}

void HistoryCard::show(const Recording& recording, const std::string& peak) {
    peak_->show(peak);
    begin_->show(recording.span());
    std::vector<std::int64_t> points = recording.points();
    if (points == dataPoints())
        return;
    setDataPoints(std::move(points));
    setNeedsDisplay(true);
}

void HistoryCard::layout() {
    constexpr double side = 20; // where the guide lines begin
    const double width = std::max(bounds().width - 2 * side, 0.0);
    title_->setFrame({side, 16, width * 0.6, 22});
    peak_->setFrame({side + width * 0.6, 16, width * 0.4, 22});
    begin_->setFrame({side, bounds().height - 36, width / 2, 18});
    end_->setFrame({side + width / 2, bounds().height - 36, width / 2, 18});
}

} // namespace dashboard
