// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/PieChart.h>

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

#include <limits>

namespace sentrel {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const std::vector<Color> threeColors = {FUIColor::emerald(), FUIColor::carrot(), FUIColor::amethyst()};

std::vector<RecordingCanvas::Fill> sectorsOf(const std::vector<double>& amounts,
                                             const std::optional<std::vector<Color>>& colors,
                                             Rect frame = {0, 0, 200, 100}) {
    PieChart chart(frame);
    chart.setColorPoints(colors);
    chart.setDataPoints(amounts);
    RecordingCanvas canvas;
    chart.drawRect(canvas, chart.bounds());
    EXPECT_TRUE(canvas.all<RecordingCanvas::Stroke>().empty());
    return canvas.all<RecordingCanvas::Fill>();
}

TEST(PieChart, StartsEmpty) {
    const PieChart chart({0, 0, 100, 100});
    EXPECT_TRUE(chart.dataPoints().empty());
    EXPECT_EQ(chart.colorPoints(), std::nullopt);
    EXPECT_TRUE(chart.isFlipped());
}

TEST(PieChart, DividesTheDiscFromTheTopClockwise) {
    const auto sectors = sectorsOf({1, 1, 2}, threeColors);
    ASSERT_EQ(sectors.size(), 3U);
    const double starts[] = {270, 360, 450, 630};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(std::get<Color>(sectors[i].paint), threeColors[i]);
        const std::vector<PathElement>& elements = sectors[i].path.elements();
        ASSERT_EQ(elements.size(), 3U);
        EXPECT_EQ(elements[0].kind, PathElement::Kind::moveTo);
        EXPECT_EQ(elements[0].points[0], (Point{100, 50}));
        EXPECT_EQ(elements[1].kind, PathElement::Kind::arc);
        EXPECT_EQ(elements[1].points[0], (Point{100, 50}));
        EXPECT_EQ(elements[1].radius, 50.0);
        EXPECT_EQ(elements[1].startAngle, starts[i]);
        EXPECT_EQ(elements[1].endAngle, starts[i + 1]);
        EXPECT_EQ(elements[2].points[0], (Point{100, 50}));
    }
}

TEST(PieChart, DrawsNothingWithoutAmountsOrWithoutAColourForEach) {
    EXPECT_TRUE(sectorsOf({}, threeColors).empty());
    EXPECT_TRUE(sectorsOf({}, std::vector<Color>{}).empty());
    EXPECT_TRUE(sectorsOf({1, 2, 3}, std::nullopt).empty());
    EXPECT_TRUE(sectorsOf({1, 2}, threeColors).empty());
    EXPECT_TRUE(sectorsOf({1, 2, 3, 4}, threeColors).empty());
}

TEST(PieChart, ShowsNoSectorForAZeroSum) {
    for (const RecordingCanvas::Fill& sector : sectorsOf({0, 0, 0}, threeColors)) {
        const double end = sector.path.elements().at(1).endAngle;
        EXPECT_NE(end, end) << "every canvas drops a figure that is not a number";
    }
}

TEST(PieChart, SweepsANegativeAmountBackwards) {
    const auto sectors = sectorsOf({3, -1, 2}, threeColors);
    ASSERT_EQ(sectors.size(), 3U);
    EXPECT_EQ(sectors[0].path.elements()[1].endAngle, 540.0);
    EXPECT_EQ(sectors[1].path.elements()[1].startAngle, 540.0);
    EXPECT_EQ(sectors[1].path.elements()[1].endAngle, 450.0);
}

TEST(PieChart, SettingTheSameAmountsTakesAPendingRedrawBack) {
    PieChart chart({0, 0, 100, 100});
    chart.setDataPoints({1, 2});
    EXPECT_TRUE(chart.needsDisplay());
    chart.setDataPoints({1, 2}); // meant so
    EXPECT_FALSE(chart.needsDisplay());
    chart.setDataPoints({2, 1});
    EXPECT_TRUE(chart.needsDisplay());
}

TEST(PieChart, AmountsWithANotANumberAlwaysDiffer) {
    PieChart chart({0, 0, 100, 100});
    chart.setDataPoints({1, nan});
    chart.setNeedsDisplay(false);
    chart.setDataPoints({1, nan});
    EXPECT_TRUE(chart.needsDisplay());
}

TEST(PieChart, SettingTheColoursRequestsNoRedraw) {
    PieChart chart({0, 0, 100, 100});
    chart.setColorPoints(threeColors);
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(PieChart, OffersItsSharesAsText) {
    PieChart chart({0, 0, 100, 100});
    EXPECT_EQ(chart.accessibilityValue(), std::nullopt);
    chart.setDataPoints({1, 1, 2});
    EXPECT_EQ(chart.accessibilityValue(), "25%, 25%, 50%");
    for (const double zero : {0.0, -0.0}) {
        chart.setDataPoints({zero, zero}); // shares of nothing
        EXPECT_EQ(chart.accessibilityValue(), "nan%, nan%");
    }
}

} // namespace

} // namespace sentrel
