// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/Bar.h>

#include "tests/views/DrawnCalls.h"
#include <SentrelKit/views/FUIColor.h>

#include <limits>
#include <utility>

namespace sentrel {
namespace {

class Bars : public LineDefaults {};

TEST_F(Bars, ANewBarHasATrackAcrossAndALineOverItsLeftHalf) {
    Bar bar({0, 0, 200, 20});
    EXPECT_EQ(bar.percent(), 50.0);
    EXPECT_TRUE(bar.rounded());
    const auto strokes = strokesOf(bar);
    ASSERT_EQ(strokes.size(), 2U);
    Path track = Path::line({0, 9}, {200, 9});
    track.setLineWidth(2.0);
    track.setLineCapStyle(LineCap::round);
    EXPECT_EQ(strokes[0].path, track);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::peterRiver(0.2));
    Path line = Path::line({0, 9}, {100, 9});
    EXPECT_EQ(strokes[1].path, line);
    EXPECT_EQ(line.lineCapStyle(), LineCap::round);
    EXPECT_EQ(std::get<Color>(strokes[1].paint), FUIColor::peterRiver());
}

TEST_F(Bars, ABarHasADenserTrackWhereTheAppearanceIsDark) {
    View root({0, 0, 100, 10});
    const auto bar = std::make_shared<Bar>(root.bounds());
    root.addSubview(bar);
    root.setAppearance(Appearance::dark);
    EXPECT_EQ(std::get<Color>(strokesOf(*bar).at(0).paint), FUIColor::peterRiver(0.35));
    EXPECT_EQ(std::get<Color>(strokesOf(*bar).at(1).paint), FUIColor::peterRiver());
}

TEST_F(Bars, ABarDoesNotClampItsPercentage) {
    for (const auto& [percent, x] : {std::pair{150.0, 300.0}, {-10.0, -20.0}, {0.0, 0.0}, {100.0, 200.0}}) {
        Bar bar({0, 0, 200, 20});
        bar.setPercent(percent);
        EXPECT_EQ(strokesOf(bar)[1].path.elements()[1].points[0], (Point{x, 9})) << percent;
    }
}

TEST_F(Bars, ABarTakesAPendingRedrawBackForAnEqualPercentage) {
    Bar bar({0, 0, 200, 20});
    bar.setPercent(60.0);
    EXPECT_TRUE(bar.needsDisplay());
    bar.setPercent(60.0); // meant so
    EXPECT_FALSE(bar.needsDisplay());
    bar.setRounded(false);
    EXPECT_FALSE(bar.needsDisplay());
    bar.setPercent(std::numeric_limits<double>::quiet_NaN());
    bar.setPercent(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(bar.needsDisplay()); // what is not a number differs from itself
}

TEST_F(Bars, ABarOffersItsPercentageAsItsAccessibilityValue) {
    Bar bar({0, 0, 200, 20});
    EXPECT_EQ(bar.accessibilityValue(), "50%");
    bar.setPercent(-std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(bar.accessibilityValue(), "nan%");
    bar.setPercent(-std::numeric_limits<double>::infinity());
    EXPECT_EQ(bar.accessibilityValue(), "-inf%");
    EXPECT_EQ(Shape().accessibilityValue(), std::nullopt);
}

} // namespace
} // namespace sentrel
