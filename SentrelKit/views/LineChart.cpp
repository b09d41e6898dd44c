// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/LineChart.h>

#include <SentrelKit/views/drawing/Canvas.h>
#include <SentrelKit/views/drawing/Path.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace sentrel {

namespace {

// All in points.
constexpr double topBorder = 60.0;
constexpr double bottomBorder = 50.0;
constexpr double guideMargin = 20.0;
constexpr double plotInset = guideMargin + 2.0; // where the first sample lies
constexpr double cornerRadius = 8.0;
constexpr double lineWidth = 4.0;
constexpr double guideWidth = 1.0;
constexpr double sparklineWidth = 2.0;

// What share of two borders a length has room for: a card that they would fill keeps half of itself for the plot.
double bordersIn(double length, double borders) noexcept {
    return length < borders ? length / 2.0 / borders : 1.0;
}

// Where the samples lie: from the first to the last, and from the largest down to zero.
Rect cardPlot(Rect rect) noexcept {
    const double across = bordersIn(rect.width, 2.0 * plotInset);
    const double down = bordersIn(rect.height, topBorder + bottomBorder);
    return {plotInset * across, topBorder * down, rect.width - 2.0 * plotInset * across,
            rect.height - topBorder * down - bottomBorder * down};
}

// A level line and its width, moved and widened to whole rows of pixels: half a row above and half a row below, one
// point would be two faint rows.
std::pair<double, double> onWholeRows(const std::optional<Transform>& toPixels, double y, double width) {
    if (!toPixels || toPixels->b != 0.0 || toPixels->c != 0.0)
        return {y, width};
    const double scale = std::abs(toPixels->d);
    const double rows = std::max(std::round(width * scale), 1.0);
    const double first = std::round(toPixels->d * y + toPixels->ty - rows / 2.0);
    return {(first + rows / 2.0 - toPixels->ty) / toPixels->d, rows / scale};
}

Path guideLines(Rect rect, const std::optional<Transform>& toPixels) {
    const Rect plot = cardPlot(rect);
    const double margin = guideMargin * bordersIn(rect.width, 2.0 * plotInset);
    Path lines;
    for (const double height : {plot.y, plot.y + plot.height / 2.0, plot.y + plot.height}) {
        const auto [y, width] = onWholeRows(toPixels, height, guideWidth);
        lines.moveTo({margin, y});
        lines.lineTo({rect.width - margin, y});
        lines.setLineWidth(width);
    }
    lines.setLineDash({5.0, 2.0}, 0.0);
    return lines;
}

// The samples that show: all of them, or of those that share a column of pixels the first, the lowest, the highest and
// the last, in their order, which cover the same pixels.
std::vector<std::size_t> shown(const std::vector<std::int64_t>& samples, double columns) {
    constexpr double ofAColumn = 4.0;
    const std::size_t count = samples.size();
    std::vector<std::size_t> indices;
    if (!(columns >= 1.0 && columns * ofAColumn < static_cast<double>(count))) {
        indices.resize(count);
        for (std::size_t i = 0; i < count; ++i)
            indices[i] = i;
        return indices;
    }
    const auto share = static_cast<std::size_t>(columns);
    for (std::size_t column = 0; column < share; ++column) {
        const std::size_t first = column * count / share;
        const std::size_t end = (column + 1) * count / share;
        const auto [lowest, highest] = std::minmax_element(samples.begin() + static_cast<std::ptrdiff_t>(first),
                                                           samples.begin() + static_cast<std::ptrdiff_t>(end));
        std::array<std::size_t, 4> marks{first, static_cast<std::size_t>(lowest - samples.begin()),
                                         static_cast<std::size_t>(highest - samples.begin()), end - 1};
        std::sort(marks.begin(), marks.end());
        indices.insert(indices.end(), marks.begin(), std::unique(marks.begin(), marks.end()));
    }
    return indices;
}

// The samples between the heights of a largest one and of zero; negative ones lie below.
std::vector<Point> series(const std::vector<std::int64_t>& samples, std::int64_t largest, Rect plot,
                          const std::optional<Transform>& toPixels) {
    std::vector<Point> points;
    constexpr double finest = 4.0; // pixels to a point of any device to come
    const double columns = plot.width * (toPixels ? std::hypot(toPixels->a, toPixels->b) : finest);
    const double step = plot.width / static_cast<double>(samples.size() - 1);
    const std::vector<std::size_t> indices = shown(samples, columns);
    points.reserve(indices.size());
    for (const std::size_t i : indices) {
        const double share = static_cast<double>(samples[i]) / static_cast<double>(largest);
        points.push_back({static_cast<double>(i) * step + plot.x, plot.height + plot.y - share * plot.height});
    }
    return points;
}

Path lineThrough(const std::vector<Point>& points, double width) {
    Path line;
    for (const Point& point : points)
        line.empty() ? line.moveTo(point) : line.lineTo(point);
    line.setLineCapStyle(LineCap::round);
    line.setLineJoinStyle(LineJoin::round);
    line.setLineWidth(width);
    return line;
}

// Fills what lies between a line and the height of zero, fading out down there.
void fillUnder(Canvas& canvas, const std::vector<Point>& points, Rect plot, const Color& color) {
    constexpr double densest = 0.45;
    const double zero = plot.y + plot.height;
    Path area = lineThrough(points, 0.0);
    area.lineTo({points.back().x, zero});
    area.lineTo({points.front().x, zero});
    area.close();
    canvas.fill(area, LinearGradient{{0.0, plot.y},
                                     {0.0, zero},
                                     {color.withAlphaComponent(color.alpha * densest), color.withAlphaComponent(0.0)}});
}

} // namespace

LineChart::LineChart(Rect frame) : View(frame) {}

LineChart::LineChart(Coder& coder) : View(coder) {}

void LineChart::setGradient(bool gradient) {
    if (std::exchange(gradient_, gradient) != gradient)
        setNeedsDisplay(true);
}

void LineChart::setSparkline(bool sparkline) {
    if (std::exchange(sparkline_, sparkline) != sparkline)
        setNeedsDisplay(true);
}

void LineChart::drawRect(Canvas& canvas, Rect rect) {
    const CanvasState state(canvas);
    const std::optional<Transform> toPixels = canvas.toPixels();
    if (sparkline_) {
        drawSeries(canvas, rect.inset(sparklineWidth / 2.0), toPixels, sparklineWidth, background_);
        return;
    }
    const Path card = Path::roundedRect(rect, cornerRadius, cornerRadius);
    canvas.clip(card);
    canvas.fill(card, background_);
    canvas.stroke(guideLines(rect, toPixels), FUIColor::greenSea(0.6));
    drawSeries(canvas, cardPlot(rect), toPixels, lineWidth, FUIColor::white());
}

void LineChart::drawSeries(Canvas& canvas, Rect plot, const std::optional<Transform>& toPixels, double width,
                           const Color& color) const {
    // Fewer than two samples have no step between them, and a largest one of 0 has no scale: a card leaves them out,
    // a sparkline says that all is quiet.
    const std::int64_t largest = dataPoints_.empty() ? 0 : *std::max_element(dataPoints_.begin(), dataPoints_.end());
    if (dataPoints_.size() < 2 || (largest == 0 && !sparkline_))
        return;
    const std::vector<Point> points = series(dataPoints_, largest == 0 ? 1 : largest, plot, toPixels);
    if (gradient_)
        fillUnder(canvas, points, plot, color);
    canvas.stroke(lineThrough(points, width), color);
}

std::optional<std::string> LineChart::accessibilityValue() const {
    if (dataPoints_.empty())
        return std::nullopt;
    return std::to_string(dataPoints_.back());
}

} // namespace sentrel
