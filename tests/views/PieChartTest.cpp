// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/PieChart.h>

#include "tests/views/ImageOf.h"

#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/RecordingCanvas.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
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

// The ground shone through where two sectors each covered a part of the same pixels.
TEST(PieChart, LetsNothingShowBetweenItsSectors) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        PieChart chart({0, 0, 100, 100});
        const Color color = FUIColor::carrot();
        chart.setColorPoints(std::vector(7, color));
        chart.setDataPoints({3, 2, 4, 1, 3, 0, 0.5});
        for (const Color& ground : {FUIColor::white(), FUIColor::black()}) {
            const ImageOf image(chart, scale, ground);
            const double middle = image.width() / 2.0;
            int off = 0;
            for (int y = 0; y < image.width(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    if (std::hypot(x + 0.5 - middle, y + 0.5 - middle) < middle - 2.0) {
                        const std::array<int, 3> pixel = image.at(x, y);
                        off = std::max(
                            {off, std::abs(pixel[0] - 230), std::abs(pixel[1] - 126), std::abs(pixel[2] - 34)});
                    }
            EXPECT_LE(off, 16) << scale; // it was up to 55; cairo rounds what a figure covers of a pixel
        }
    }
}

TEST(PieChart, MixesItsOwnColoursOnlyWhereItIsSeeThrough) {
    PieChart chart({0, 0, 100, 100});
    chart.setColorPoints(std::vector(2, Color{0.0, 0.0, 0.0, 0.5}));
    chart.setDataPoints({1, 2});
    const ImageOf image(chart);
    for (int y = 20; y < 80; ++y)
        for (int x = 20; x < 80; ++x)
            EXPECT_NEAR(image.at(x, y)[0], 127, 3) << x << ' ' << y;
}

TEST(PieChart, LetsNothingShowBetweenItsSectorsWhileItIsDisabled) {
    PieChart chart({0, 0, 100, 100});
    chart.setColorPoints(std::vector(3, FUIColor::black()));
    chart.setDataPoints({3, 2, 4});
    chart.setEnabled(false);
    const ImageOf image(chart);
    for (int y = 20; y < 80; ++y)
        for (int x = 20; x < 80; ++x)
            EXPECT_NEAR(image.at(x, y)[0], 153, 8) << x << ' ' << y; // 40 % are left
}

TEST(PieChart, LaysASectorThatIsSweptBackwardsOverItsNeighbour) {
    PieChart chart({0, 0, 100, 100});
    chart.setColorPoints(threeColors);
    chart.setDataPoints({3, -1, 2});
    const ImageOf image(chart);
    EXPECT_EQ(image.at(25, 75), (std::array<int, 3>{155, 89, 182})); // the third lies over the first and the second
    EXPECT_EQ(image.at(75, 25), (std::array<int, 3>{46, 204, 113}));
}

} // namespace

} // namespace sentrel
