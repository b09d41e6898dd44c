// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/LineChart.h>

#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Path.h>

#include <algorithm>

namespace sentrel {

namespace {

// All in points.
constexpr double topBorder = 60.0;
constexpr double bottomBorder = 50.0;
constexpr double guideMargin = 20.0;
constexpr double plotInset = guideMargin + 2.0; // where the first sample lies
constexpr double cornerRadius = 8.0;

double plotHeight(Rect rect) {
    return rect.height - topBorder - bottomBorder;
}

Path guideLines(Rect rect) {
    Path lines;
    for (const double y : {topBorder, topBorder + plotHeight(rect) / 2.0, rect.height - bottomBorder}) {
        lines.moveTo({guideMargin, y});
        lines.lineTo({rect.width - guideMargin, y});
    }
    lines.setLineDash({5.0, 2.0}, 0.0);
    lines.setLineWidth(1.0);
    return lines;
}

// The samples between the guide lines of the largest one and of zero; negative ones lie below. Nothing for samples that
// have no such place: fewer than two have no step between them, and a largest sample of 0 has no scale.
Path series(const std::vector<std::int64_t>& samples, Rect rect) {
    Path line;
    const std::int64_t largest = samples.empty() ? 0 : *std::max_element(samples.begin(), samples.end());
    if (samples.size() < 2 || largest == 0)
        return line;
    const double height = plotHeight(rect);
    const double step = (rect.width - 2.0 * plotInset) / static_cast<double>(samples.size() - 1);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double share = static_cast<double>(samples[i]) / static_cast<double>(largest);
        const Point point{static_cast<double>(i) * step + plotInset, height + topBorder - share * height};
        if (i == 0)
            line.moveTo(point);
        else
            line.lineTo(point);
    }
    line.setLineCapStyle(LineCap::round);
    line.setLineJoinStyle(LineJoin::round);
    line.setLineWidth(4.0);
    return line;
}

} // namespace

LineChart::LineChart(Rect frame) : View(frame) {}

LineChart::LineChart(Coder& coder) : View(coder) {}

void LineChart::drawRect(Canvas& canvas, Rect rect) {
    const CanvasState state(canvas);
    const Path card = Path::roundedRect(rect, cornerRadius, cornerRadius);
    canvas.clip(card);
    canvas.fill(card, background_);
    canvas.stroke(guideLines(rect), FUIColor::greenSea(0.6));
    const Path line = series(dataPoints_, rect);
    if (!line.empty())
        canvas.stroke(line, FUIColor::white());
}

std::optional<std::string> LineChart::accessibilityValue() const {
    if (dataPoints_.empty())
        return std::nullopt;
    return std::to_string(dataPoints_.back());
}

} // namespace sentrel
