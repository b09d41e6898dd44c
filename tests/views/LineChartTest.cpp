// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/LineChart.h>

#include "tests/views/ImageOf.h"

#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numeric>

namespace sentrel {

namespace {

constexpr Rect frame{0, 0, 364, 210}; // leaves a plot 320 wide and 100 high

RecordingCanvas drawn(const std::vector<std::int64_t>& samples) {
    LineChart chart(frame);
    chart.setDataPoints(samples);
    RecordingCanvas canvas;
    chart.drawRect(canvas, chart.bounds());
    return canvas;
}

RecordingCanvas drawnOf(LineChart& chart) {
    RecordingCanvas canvas;
    chart.drawRect(canvas, chart.bounds());
    return canvas;
}

// The card with a line through every sample, as it was drawn before samples were left out.
class EveryPoint : public View {
public:
    explicit EveryPoint(LineChart& chart) : View(chart.frame()), chart_(chart) {}
    [[nodiscard]] bool isFlipped() const override { return true; }
    void drawRect(Canvas& canvas, Rect rect) override {
        const std::vector<std::int64_t> samples = chart_.dataPoints();
        chart_.setDataPoints({});
        chart_.drawRect(canvas, rect);
        chart_.setDataPoints(samples);
        Path line;
        const double step = 320.0 / static_cast<double>(samples.size() - 1);
        const std::int64_t largest = *std::ranges::max_element(samples);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const Point point{22.0 + static_cast<double>(i) * step,
                              160.0 - static_cast<double>(samples[i]) / static_cast<double>(largest) * 100.0};
            i == 0 ? line.moveTo(point) : line.lineTo(point);
        }
        line.setLineCapStyle(LineCap::round);
        line.setLineJoinStyle(LineJoin::round);
        line.setLineWidth(4.0);
        canvas.stroke(line, FUIColor::white());
    }

private:
    LineChart& chart_;
};

// How far a pixel of one picture is from what the other has there and a column to each side, 0 to 255.
int mostOff(const ImageOf& one, const ImageOf& other) {
    int most = 0;
    for (int y = 0; y < one.height(); ++y)
        for (int x = 1; x + 1 < one.width(); ++x) {
            const auto [low, high] = std::minmax({other.at(x - 1, y)[0], other.at(x, y)[0], other.at(x + 1, y)[0]});
            most = std::max({most, low - one.at(x, y)[0], one.at(x, y)[0] - high});
        }
    return most;
}

// The points of the series; none if it was not drawn.
std::vector<Point> seriesOf(const RecordingCanvas& canvas) {
    std::vector<Point> points;
    const auto strokes = canvas.all<RecordingCanvas::Stroke>();
    if (strokes.size() == 2)
        for (const PathElement& element : strokes[1].path.elements())
            points.push_back(element.points[0]);
    return points;
}

TEST(LineChart, StartsWithItsPlaceholderOnATurquoiseCard) {
    const LineChart chart(frame);
    EXPECT_EQ(chart.dataPoints(), (std::vector<std::int64_t>{4, 2, 6, 4, 5, 8, 1, 20, 3}));
    EXPECT_EQ(chart.background(), FUIColor::turquoise());
    EXPECT_TRUE(chart.isFlipped());
}

TEST(LineChart, FillsARoundedCardThatAlsoClipsTheRest) {
    LineChart chart(frame);
    chart.setBackground(FUIColor::amethyst());
    RecordingCanvas canvas;
    chart.drawRect(canvas, chart.bounds());
    ASSERT_EQ(canvas.all<RecordingCanvas::Clip>().size(), 1U);
    ASSERT_EQ(canvas.all<RecordingCanvas::Fill>().size(), 1U);
    const Path card = Path::roundedRect(frame, 8.0, 8.0);
    EXPECT_EQ(canvas.all<RecordingCanvas::Clip>()[0].path, card);
    EXPECT_EQ(canvas.all<RecordingCanvas::Fill>()[0].path, card);
    EXPECT_EQ(std::get<Color>(canvas.all<RecordingCanvas::Fill>()[0].paint), FUIColor::amethyst());
    EXPECT_TRUE(std::holds_alternative<RecordingCanvas::Save>(canvas.calls().front()));
    EXPECT_TRUE(std::holds_alternative<RecordingCanvas::Restore>(canvas.calls().back()));
}

TEST(LineChart, DrawsThreeDashedGuideLinesInOnePath) {
    const RecordingCanvas canvas = drawn({1, 2});
    const RecordingCanvas::Stroke guides = canvas.all<RecordingCanvas::Stroke>().at(0);
    std::vector<Point> points;
    for (const PathElement& element : guides.path.elements())
        points.push_back(element.points[0]);
    EXPECT_EQ(points, (std::vector<Point>{{20, 60}, {344, 60}, {20, 110}, {344, 110}, {20, 160}, {344, 160}}));
    EXPECT_EQ(guides.path.lineDash(), (std::vector<double>{5.0, 2.0}));
    EXPECT_EQ(guides.path.lineDashPhase(), 0.0);
    EXPECT_EQ(guides.path.lineWidth(), 1.0);
    EXPECT_EQ(std::get<Color>(guides.paint), FUIColor::greenSea(0.6));
}

TEST(LineChart, DrawsTheSeriesWithRoundCapsAndJoins) {
    const RecordingCanvas::Stroke series = drawn({1, 2}).all<RecordingCanvas::Stroke>().at(1);
    EXPECT_EQ(series.path.lineCapStyle(), LineCap::round);
    EXPECT_EQ(series.path.lineJoinStyle(), LineJoin::round);
    EXPECT_EQ(series.path.lineWidth(), 4.0);
    EXPECT_EQ(std::get<Color>(series.paint), FUIColor::white());
}

TEST(LineChart, ThePlaceholderHasNinePointsWithThePeakAtTheEighthOnTheTopLine) {
    const std::vector<Point> points = seriesOf(drawn(LineChart().dataPoints()));
    ASSERT_EQ(points.size(), 9U);
    EXPECT_EQ(points.front(), (Point{22, 140})); // 4 of 20
    EXPECT_EQ(points[7], (Point{302, 60}));
    EXPECT_EQ(points.back(), (Point{342, 145}));
}

TEST(LineChart, EqualPositiveSamplesMakeAStraightLineOnTheTopLine) {
    for (const Point& point : seriesOf(drawn({7, 7, 7})))
        EXPECT_EQ(point.y, 60.0);
}

TEST(LineChart, AZeroTouchesTheBottomLineAndNegativeSamplesLieBelow) {
    const std::vector<Point> points = seriesOf(drawn({0, 10, -5}));
    ASSERT_EQ(points.size(), 3U);
    EXPECT_EQ(points[0].y, 160.0);
    EXPECT_EQ(points[1].y, 60.0);
    EXPECT_EQ(points[2].y, 210.0);
}

TEST(LineChart, LeavesTheSeriesOutWhereItHasNoScaleOrNoStep) {
    for (const std::vector<std::int64_t>& samples : {std::vector<std::int64_t>{}, {5}, {0, 0, 0}, {-3, 0, -1}, {0}}) {
        const RecordingCanvas canvas = drawn(samples);
        EXPECT_EQ(canvas.all<RecordingCanvas::Fill>().size(), 1U) << samples.size();
        EXPECT_EQ(canvas.all<RecordingCanvas::Stroke>().size(), 1U) << samples.size();
    }
}

TEST(LineChart, ComparesTheLargestSamplesAsIntegers) {
    const std::int64_t most = std::numeric_limits<std::int64_t>::max();
    const std::vector<Point> points = seriesOf(drawn({most - 1, most, std::numeric_limits<std::int64_t>::min()}));
    ASSERT_EQ(points.size(), 3U);
    EXPECT_EQ(points[1].y, 60.0);
    EXPECT_EQ(points[2].y, 260.0);
}

TEST(LineChart, DrawsEveryPointItIsGiven) {
    std::vector<std::int64_t> samples(1000);
    std::iota(samples.begin(), samples.end(), 1);
    const std::vector<Point> points = seriesOf(drawn(samples));
    ASSERT_EQ(points.size(), 1000U);
    EXPECT_DOUBLE_EQ(points.back().x, 342.0);
}

// Guide lines of half a row above and half a row below their height were too faint to be seen at 1x.
TEST(LineChart, DrawsItsGuideLinesOnWholeRowsOfPixels) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        LineChart chart({0, 0, 360, 211});
        chart.setDataPoints({});
        const ImageOf image(chart, scale);
        const auto rows = static_cast<int>(std::max(std::round(scale), 1.0));
        for (const double y : {60.0, 110.5, 161.0}) {
            const auto first = static_cast<int>(y * scale - 2.5);
            const int column = static_cast<int>(22.0 * scale);
            std::vector<int> shades; // of blue: 156 on the card, 142 on a line
            for (int row = first; row < first + 6; ++row)
                shades.push_back(image.at(column, row)[2]);
            EXPECT_EQ(std::ranges::count(shades, 142), rows) << y << " at " << scale;
            EXPECT_EQ(std::ranges::count(shades, 156), 6 - rows) << y << " at " << scale;
        }
    }
}

TEST(LineChart, DrawsItsGuideLinesOnWholeRowsWhileItIsDisabled) {
    LineChart chart({0, 0, 360, 210});
    chart.setDataPoints({});
    chart.setEnabled(false);
    const ImageOf image(chart);
    EXPECT_EQ(image.at(22, 59), image.at(22, 58));
    EXPECT_NE(image.at(22, 60), image.at(22, 59));
    EXPECT_EQ(image.at(22, 61), image.at(22, 59));
}

// The line stood on its head below 110 points, and ran to the left below 44.
TEST(LineChart, KeepsHalfOfASmallCardForThePlot) {
    for (const Rect small : {Rect{0, 0, 364, 109}, Rect{0, 0, 364, 60}, Rect{0, 0, 364, 8}, Rect{0, 0, 43, 210},
                             Rect{0, 0, 20, 20}, Rect{0, 0, 8, 8}}) {
        LineChart chart(small);
        chart.setDataPoints({0, 10});
        RecordingCanvas canvas;
        chart.drawRect(canvas, small);
        const std::vector<Point> points = seriesOf(canvas);
        ASSERT_EQ(points.size(), 2U);
        EXPECT_LT(points[0].x, points[1].x) << small.width;
        EXPECT_GT(points[0].y, points[1].y) << small.height; // zero lies lower
        if (small.height < 110) {
            EXPECT_DOUBLE_EQ(points[0].y - points[1].y, small.height / 2.0);
            EXPECT_GT(points[1].y, 0.0);
            EXPECT_LT(points[0].y, small.height);
        }
        if (small.width < 44) {
            EXPECT_DOUBLE_EQ(points[1].x - points[0].x, small.width / 2.0);
            EXPECT_DOUBLE_EQ(points[0].x, small.width / 4.0);
        }
        const auto guides = canvas.all<RecordingCanvas::Stroke>().at(0).path.elements();
        EXPECT_LT(guides[0].points[0].x, guides[1].points[0].x);
        EXPECT_DOUBLE_EQ(guides[0].points[0].y, points[1].y);
        EXPECT_DOUBLE_EQ(guides[5].points[0].y, points[0].y);
    }
}

TEST(LineChart, ShowsTheSamePixelsOfManySamplesAsIfItDrewEachOfThem) {
    std::vector<std::int64_t> samples(20000, 100);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] += static_cast<std::int64_t>(i % 3000);
    samples[7777] = 5000; // a peak of one sample
    samples[12345] = 0;
    for (const double scale : {1.0, 1.5, 2.0}) {
        LineChart chart(frame);
        chart.setDataPoints(samples);
        const ImageOf image(chart, scale);
        EveryPoint all(chart);
        const ImageOf whole(all, scale);
        EXPECT_LE(mostOff(image, whole), 64) << scale; // an edge that lies twice
        EXPECT_LE(mostOff(whole, image), 64) << scale;
    }
}

TEST(LineChart, ThinsManySamplesToTheirColumnsOnACanvasWithoutPixelsToo) {
    std::vector<std::int64_t> samples(200000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int64_t>(i * 7919 % 1000);
    samples[77777] = 2000;
    const std::vector<Point> points = seriesOf(drawn(samples));
    EXPECT_LE(points.size(), 320U * 4 * 4);
    EXPECT_DOUBLE_EQ(points.front().x, 22.0);
    EXPECT_DOUBLE_EQ(points.back().x, 342.0);
    EXPECT_EQ(std::ranges::count(points, 60.0, &Point::y), 1); // the peak
    EXPECT_TRUE(std::ranges::is_sorted(points, {}, &Point::x));
}

TEST(LineChart, FillsWhatLiesUnderTheLineOnlyWhenAsked) {
    LineChart chart(frame);
    EXPECT_FALSE(chart.gradient());
    chart.setDataPoints({0, 10});
    chart.setGradient(true);
    EXPECT_TRUE(chart.needsDisplay());
    RecordingCanvas canvas;
    chart.drawRect(canvas, chart.bounds());
    ASSERT_EQ(canvas.all<RecordingCanvas::Fill>().size(), 2U);
    const RecordingCanvas::Fill under = canvas.all<RecordingCanvas::Fill>()[1];
    std::vector<Point> corners;
    for (const PathElement& element : under.path.elements())
        corners.push_back(element.points[0]);
    EXPECT_EQ(corners, (std::vector<Point>{{22, 160}, {342, 60}, {342, 160}, {22, 160}, {}}));
    const auto& fade = std::get<LinearGradient>(under.paint);
    EXPECT_EQ(fade.start.y, 60.0);
    EXPECT_EQ(fade.end.y, 160.0);
    EXPECT_EQ(fade.colors, (std::vector{FUIColor::white(0.45), FUIColor::white(0.0)}));
    chart.setNeedsDisplay(false);
    chart.setGradient(true);
    EXPECT_FALSE(chart.needsDisplay());
    chart.setDataPoints({5});
    EXPECT_EQ(drawnOf(chart).all<RecordingCanvas::Fill>().size(), 1U);
}

TEST(LineChart, AsASparklineIsOneLineOverTheWholeView) {
    LineChart chart({0, 0, 102, 42});
    EXPECT_FALSE(chart.sparkline());
    chart.setSparkline(true);
    EXPECT_TRUE(chart.needsDisplay());
    chart.setBackground(FUIColor::peterRiver());
    chart.setDataPoints({0, 5, 10});
    const RecordingCanvas canvas = drawnOf(chart);
    EXPECT_TRUE(canvas.all<RecordingCanvas::Fill>().empty());
    const auto strokes = canvas.all<RecordingCanvas::Stroke>();
    ASSERT_EQ(strokes.size(), 1U);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::peterRiver());
    EXPECT_EQ(strokes[0].path.lineWidth(), 2.0);
    std::vector<Point> points;
    for (const PathElement& element : strokes[0].path.elements())
        points.push_back(element.points[0]);
    EXPECT_EQ(points, (std::vector<Point>{{1, 41}, {51, 21}, {101, 1}}));
}

TEST(LineChart, AsASparklineOfZeroesRunsAlongItsLowerEdge) {
    LineChart chart({0, 0, 102, 42});
    chart.setSparkline(true);
    chart.setDataPoints({0, 0, 0});
    const auto strokes = drawnOf(chart).all<RecordingCanvas::Stroke>();
    ASSERT_EQ(strokes.size(), 1U);
    for (const PathElement& element : strokes[0].path.elements())
        EXPECT_EQ(element.points[0].y, 41.0);
    for (const std::vector<std::int64_t>& few : {std::vector<std::int64_t>{}, {5}}) {
        chart.setDataPoints(few);
        EXPECT_TRUE(drawnOf(chart).all<RecordingCanvas::Stroke>().empty());
    }
}

TEST(LineChart, SettingItsPropertiesRequestsNoRedraw) {
    LineChart chart(frame);
    chart.setDataPoints({1});
    chart.setBackground(FUIColor::carrot());
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(LineChart, OffersItsNewestSampleAsText) {
    LineChart chart(frame);
    EXPECT_EQ(chart.accessibilityValue(), "3");
    chart.setDataPoints({});
    EXPECT_EQ(chart.accessibilityValue(), std::nullopt);
}

} // namespace

} // namespace sentrel
