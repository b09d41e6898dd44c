// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/CircleChart.h>

#include <cmath>
#include <limits>

namespace sentrel {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class CircleCharts : public LineDefaults {};

TEST_F(CircleCharts, StartsWithItsDefaults) {
    const CircleChart chart({1, 2, 30, 40});
    EXPECT_EQ(chart.frame(), (Rect{1, 2, 30, 40}));
    EXPECT_EQ(chart.myLabel(), nullptr);
    EXPECT_EQ(chart.color(), FUIColor::emerald());
    EXPECT_EQ(chart.lineWidth(), 4.0);
    EXPECT_EQ(chart.percent(), 0.0);
    EXPECT_TRUE(chart.isFlipped());
    EXPECT_FALSE(chart.needsDisplay());
}

TEST_F(CircleCharts, TakesItsFrameFromAnArchiveAndItsDefaultsFromItself) {
    Coder coder(PropertyList::Dictionary{{"frame", PropertyList::List{1, 2.5, 30, 40}}, {"percent", 70.0}});
    const CircleChart chart(coder);
    EXPECT_EQ(chart.frame(), (Rect{1, 2.5, 30, 40}));
    EXPECT_EQ(chart.percent(), 0.0);
    EXPECT_EQ(chart.color(), FUIColor::emerald());
}

TEST_F(CircleCharts, ShowsOnlyTheFaintTrackWhenNew) {
    CircleChart chart({0, 0, 96, 96});
    const auto strokes = strokesOf(chart);
    ASSERT_EQ(strokes.size(), 1U);
    Path track = Path::ellipse({4, 4, 88, 88});
    track.setLineWidth(4.0);
    EXPECT_EQ(strokes[0].path, track);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::emerald(0.2));
}

TEST_F(CircleCharts, SweepsItsArcFromTheTopByItsShareOfTheTurn) {
    CircleChart chart({0, 0, 200, 100});
    chart.setLineWidth(6.0);
    chart.setPercent(25.0);
    const auto strokes = strokesOf(chart);
    ASSERT_EQ(strokes.size(), 2U);
    Path track = Path::ellipse({56, 6, 88, 88});
    track.setLineWidth(6.0);
    EXPECT_EQ(strokes[0].path, track);
    Path arc;
    arc.appendArc({100, 50}, 44.0, 270.0, 360.0);
    arc.setLineWidth(6.0);
    EXPECT_EQ(strokes[1].path, arc);
    EXPECT_EQ(std::get<Color>(strokes[1].paint), FUIColor::emerald());
}

TEST_F(CircleCharts, DrawsNoArcBelowHalfAPercentOrForWhatIsNoNumber) {
    for (const double percent : {-50.0, 0.0, 0.4, 0.49999, nan, -std::numeric_limits<double>::infinity()}) {
        CircleChart chart({0, 0, 96, 96});
        chart.setPercent(percent);
        EXPECT_EQ(strokesOf(chart).size(), 1U) << percent;
    }
    for (const double percent : {0.5, 0.6, 99.6, 100.0}) {
        CircleChart chart({0, 0, 96, 96});
        chart.setPercent(percent);
        EXPECT_EQ(strokesOf(chart).size(), 2U) << percent;
    }
}

TEST_F(CircleCharts, OverlapsItsArcPastAHundredPercent) {
    CircleChart chart({0, 0, 96, 96});
    chart.setPercent(150.0);
    const auto strokes = strokesOf(chart);
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_EQ(strokes[1].path.elements()[0].endAngle, 810.0);
}

TEST_F(CircleCharts, EndsItsArcAtANumberHoweverLargeItsPercentageIs) {
    for (const double percent : {1e18, 1e308, std::numeric_limits<double>::infinity()}) {
        CircleChart chart({0, 0, 96, 96});
        chart.setPercent(percent);
        EXPECT_TRUE(std::isfinite(strokesOf(chart).at(1).path.elements()[0].endAngle)) << percent;
    }
}

TEST_F(CircleCharts, LeavesTheCapOfItsArcToTheProcessDefault) {
    CircleChart chart({0, 0, 96, 96});
    chart.setPercent(50.0);
    EXPECT_EQ(strokesOf(chart)[1].path.lineCapStyle(), LineCap::butt);
    Path::setDefaultLineCapStyle(LineCap::round);
    EXPECT_EQ(strokesOf(chart)[1].path.lineCapStyle(), LineCap::round);
}

TEST_F(CircleCharts, TouchesLabelAndDisplayOnlyWhenTheRoundedValueChanges) {
    CircleChart chart({0, 0, 96, 96});
    const auto label = std::make_shared<TextField>();
    chart.setMyLabel(label);

    chart.setPercent(0.4);
    EXPECT_EQ(label->stringValue(), "");
    EXPECT_FALSE(chart.needsDisplay());
    EXPECT_EQ(chart.percent(), 0.4);

    chart.setPercent(0.6);
    EXPECT_EQ(label->stringValue(), "1%");
    EXPECT_TRUE(chart.needsDisplay());

    chart.setPercent(42.2);
    label->setStringValue("kept");
    chart.setNeedsDisplay(false);
    chart.setPercent(41.8);
    EXPECT_EQ(label->stringValue(), "kept");
    EXPECT_FALSE(chart.needsDisplay());

    chart.setPercent(42.4);
    chart.setPercent(42.6);
    EXPECT_EQ(label->stringValue(), "43%");
    EXPECT_TRUE(chart.needsDisplay());
}

TEST_F(CircleCharts, KeepsAPendingRedrawWhenTheRoundedValueStays) {
    CircleChart chart({0, 0, 96, 96});
    chart.setNeedsDisplay(true);
    chart.setPercent(0.2);
    EXPECT_TRUE(chart.needsDisplay());
}

TEST_F(CircleCharts, TakesEveryChangeFromOrToNoNumberForAChange) {
    CircleChart chart({0, 0, 96, 96});
    const auto label = std::make_shared<TextField>();
    chart.setMyLabel(label);
    chart.setPercent(nan);
    EXPECT_EQ(label->stringValue(), "nan%");
    chart.setPercent(-nan); // what 0/0 gives on some machines: its sign stood before it
    EXPECT_EQ(label->stringValue(), "nan%");
    EXPECT_EQ(chart.accessibilityValue(), "nan%");
    chart.setNeedsDisplay(false);
    chart.setPercent(nan);
    EXPECT_TRUE(chart.needsDisplay());
    chart.setPercent(0.0);
    EXPECT_EQ(label->stringValue(), "0%");
}

TEST_F(CircleCharts, DoesNotKeepItsLabelAlive) {
    CircleChart chart({0, 0, 96, 96});
    auto label = std::make_shared<TextField>();
    chart.setMyLabel(label);
    EXPECT_EQ(chart.myLabel(), label);
    label.reset();
    EXPECT_EQ(chart.myLabel(), nullptr);
    chart.setPercent(10.0);
    EXPECT_TRUE(chart.needsDisplay());
}

TEST_F(CircleCharts, TellsANewLabelNothingBeforeTheNextChange) {
    CircleChart chart({0, 0, 96, 96});
    chart.setPercent(42.0);
    const auto label = std::make_shared<TextField>();
    chart.setMyLabel(label);
    chart.setPercent(42.1);
    EXPECT_EQ(label->stringValue(), "");
    chart.setPercent(43.0);
    EXPECT_EQ(label->stringValue(), "43%");
}

TEST_F(CircleCharts, ClearsAPendingRedrawWhenItsColourIsSetToTheSame) {
    CircleChart chart({0, 0, 96, 96});
    chart.setColor(FUIColor::carrot());
    EXPECT_TRUE(chart.needsDisplay());
    chart.setColor(FUIColor::carrot()); // meant so: an equal colour takes the request back
    EXPECT_FALSE(chart.needsDisplay());
}

TEST_F(CircleCharts, OnlyStoresItsLineWidth) {
    CircleChart chart({0, 0, 96, 96});
    chart.setLineWidth(9.0);
    EXPECT_EQ(chart.lineWidth(), 9.0);
    EXPECT_FALSE(chart.needsDisplay());
}

TEST_F(CircleCharts, OffersItsLabelTextAsItsAccessibilityValue) {
    CircleChart chart({0, 0, 96, 96});
    chart.setPercent(41.5);
    EXPECT_EQ(chart.accessibilityValue(), "42%");
}

TEST_F(CircleCharts, DrawsNothingWhenItsRingIsThickerThanItsSide) {
    CircleChart chart({0, 0, 10, 10});
    chart.setLineWidth(6.0);
    chart.setPercent(50.0);
    const auto strokes = strokesOf(chart);
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_TRUE(strokes[0].path.empty());
    EXPECT_EQ(strokes[1].path.elements()[0].radius, -1.0); // a canvas draws no arc of such a radius
}

TEST_F(CircleCharts, MakesALabelInItsMiddleThatFollowsItsValueAndItsSize) {
    CircleChart chart({0, 0, 100, 120});
    chart.setPercent(7.0);
    const std::shared_ptr<TextField> label = chart.addLabel();
    EXPECT_EQ(chart.myLabel(), label);
    EXPECT_EQ(label->superview(), &chart);
    EXPECT_EQ(label->stringValue(), "7%");
    chart.setPercent(42.0);
    EXPECT_EQ(label->stringValue(), "42%");
    RecordingCanvas canvas;
    chart.display(canvas, 0.0);
    EXPECT_EQ(label->frame(), chart.bounds());
    ASSERT_TRUE(label->font());
    EXPECT_EQ(label->font()->size(), 20.0);
    chart.setFrame({0, 0, 50, 50});
    chart.display(canvas, 0.0);
    EXPECT_EQ(label->frame(), chart.bounds());
    EXPECT_EQ(label->font()->size(), 10.0);
    EXPECT_LT(textSize("100%", *label->font()).width, 50.0 - 4.0 * chart.lineWidth());
}

TEST_F(CircleCharts, HasADenserTrackWhereTheAppearanceIsDark) {
    CircleChart chart({0, 0, 100, 100});
    EXPECT_EQ(std::get<Color>(strokesOf(chart).at(0).paint), FUIColor::emerald(0.2));
    chart.setAppearance(Appearance::dark);
    EXPECT_EQ(std::get<Color>(strokesOf(chart).at(0).paint), FUIColor::emerald(0.35));
}

} // namespace

} // namespace sentrel
