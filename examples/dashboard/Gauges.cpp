// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Gauges.h"

#include "examples/dashboard/Style.h"

#include <algorithm>
#include <cmath>

namespace dashboard {

using namespace sentrel;

std::shared_ptr<GaugeCircleChart> makeRing(const std::string& name) {
    auto ring = GaugeCircleChart::labelled({0, 0, ringSide, ringSide}, name);
    ring->setLineWidth(9);
    return ring;
}

void showPercent(CircleChart& ring, double percent) {
    constexpr double visibleStep = 5;
    ring.setEases(std::abs(percent - ring.percent()) >= visibleStep);
    ring.setPercent(percent);
}

void SplitBar::show(const std::vector<double>& percents) {
    if (percents == percents_)
        return;
    percents_ = percents;
    setNeedsDisplay(true);
}

void SplitBar::drawRect(Canvas& canvas, Rect rect) {
    const double radius = rect.height / 2;
    const Path track = Path::roundedRect(rect, radius, radius);
    const CanvasState state(canvas);
    canvas.clip(track);
    canvas.fill(track, lineColor(effectiveAppearance()));
    std::vector<FilledPath> parts;
    double left = 0;
    for (std::size_t i = 0; i < std::min(percents_.size(), colors_.size()); ++i) {
        const double width = rect.width * std::clamp(percents_[i], 0.0, 100.0) / 100;
        parts.push_back({Path::rect({left, 0, width, rect.height}), colors_[i]});
        left += width;
    }
    canvas.fillSideBySide(parts);
}

} // namespace dashboard
