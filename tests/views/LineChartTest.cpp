// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/LineChart.h>

#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

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
