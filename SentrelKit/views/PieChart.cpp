// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/PieChart.h>

#include <SentrelKit/views/detail/PercentText.h>
#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Path.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace sentrel {

PieChart::PieChart(Rect frame) : View(frame) {}

PieChart::PieChart(Coder& coder) : View(coder) {}

void PieChart::setDataPoints(std::vector<double> amounts) {
    // A not-a-number equals nothing, so amounts with one always differ.
    setNeedsDisplay(std::exchange(dataPoints_, std::move(amounts)) != dataPoints_);
}

// The shares of the amounts. They sum to 1, whatever the name says.
std::optional<std::vector<double>> PieChart::toPercent() const {
    if (dataPoints_.empty())
        return std::nullopt;
    const double sum = std::accumulate(dataPoints_.begin(), dataPoints_.end(), 0.0);
    std::vector<double> shares = dataPoints_;
    for (double& share : shares)
        share /= sum;
    return shares;
}

void PieChart::drawRect(Canvas& canvas, Rect rect) {
    const std::optional<std::vector<double>> shares = toPercent();
    if (!shares || !colorPoints_ || colorPoints_->size() != shares->size())
        return;
    const Point center{rect.width / 2.0, rect.height / 2.0};
    const double radius = std::min(rect.width, rect.height) / 2.0;
    std::vector<FilledPath> sectors;
    double start = 270.0;
    for (std::size_t i = 0; i < shares->size(); ++i) {
        const double end = start + (*shares)[i] * 360.0;
        Path sector;
        sector.moveTo(center);
        sector.appendArc(center, radius, start, end);
        sector.lineTo(center);
        sectors.push_back({std::move(sector), (*colorPoints_)[i]});
        start = end;
    }
    // A sector swept backwards lies over its neighbours, and so do those after it.
    if (std::ranges::all_of(*shares, [](double share) { return share >= 0.0; })) {
        canvas.fillSideBySide(sectors);
        return;
    }
    for (const FilledPath& sector : sectors)
        canvas.fill(sector.path, sector.paint);
}

std::optional<std::string> PieChart::accessibilityValue() const {
    const std::optional<std::vector<double>> shares = toPercent();
    if (!shares)
        return std::nullopt;
    std::string text;
    for (const double share : *shares)
        text += (text.empty() ? "" : ", ") + percentText(share * 100.0);
    return text;
}

} // namespace sentrel
