// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/GaugeCircleChart.h>

#include <gtest/gtest.h>

#include <limits>

namespace sentrel {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(GaugeCircleChart, StartsWithItsDefaults) {
    const GaugeCircleChart chart({0, 0, 96, 96});
    EXPECT_EQ(chart.successColor(), FUIColor::emerald());
    EXPECT_EQ(chart.warningColor(), FUIColor::sunflower());
    EXPECT_EQ(chart.dangerColor(), FUIColor::alizarin());
    EXPECT_EQ(chart.success(), 81.0);
    EXPECT_EQ(chart.warning(), 91.0);
    EXPECT_EQ(chart.color(), FUIColor::emerald());
    EXPECT_EQ(chart.lineWidth(), 4.0);
}

TEST(GaugeCircleChart, ColoursItselfByItsBand) {
    const std::pair<double, Color> bands[] = {
        {-10.0, FUIColor::emerald()}, {0.0, FUIColor::emerald()},    {80.9, FUIColor::emerald()},
        {80.99, FUIColor::emerald()}, {81.0, FUIColor::sunflower()}, {90.9, FUIColor::sunflower()},
        {91.0, FUIColor::alizarin()}, {150.0, FUIColor::alizarin()}, {nan, FUIColor::alizarin()}};
    for (const auto& [percent, color] : bands) {
        GaugeCircleChart chart({0, 0, 96, 96});
        chart.setPercent(percent);
        EXPECT_EQ(chart.color(), color) << percent;
    }
}

TEST(GaugeCircleChart, ChoosesTheBandAlsoWhenTheRoundedValueStays) {
    GaugeCircleChart chart({0, 0, 96, 96});
    chart.setPercent(80.9);
    chart.setNeedsDisplay(false);
    chart.setPercent(81.0);
    EXPECT_EQ(chart.color(), FUIColor::sunflower());
    EXPECT_TRUE(chart.needsDisplay());
}

TEST(GaugeCircleChart, ClearsAPendingRedrawWhenBandAndRoundedValueStay) {
    GaugeCircleChart chart({0, 0, 96, 96});
    chart.setPercent(42.0);
    EXPECT_TRUE(chart.needsDisplay());
    chart.setPercent(42.2); // meant so: the equal band colour takes the request back
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(GaugeCircleChart, KeepsItsColourWhenAThresholdMovesUntilPercentIsSet) {
    GaugeCircleChart chart({0, 0, 96, 96});
    chart.setPercent(60.0);
    chart.setSuccess(50.0);
    EXPECT_EQ(chart.color(), FUIColor::emerald());
    chart.setPercent(60.0);
    EXPECT_EQ(chart.color(), FUIColor::sunflower());
}

TEST(GaugeCircleChart, HasNoWarningBandWhenTheThresholdsStandTheOtherWayRound) {
    GaugeCircleChart chart({0, 0, 96, 96});
    chart.setSuccess(95.0);
    chart.setWarning(90.0);
    chart.setPercent(94.0);
    EXPECT_EQ(chart.color(), FUIColor::emerald());
    chart.setPercent(95.0);
    EXPECT_EQ(chart.color(), FUIColor::alizarin());
}

template <class Value>
void expectRequestsByDifference(void (Gauge<CircleChart>::*set)(Value),
                                Value (Gauge<CircleChart>::*get)() const noexcept, Value other) {
    GaugeCircleChart chart({0, 0, 96, 96});
    (chart.*set)(other);
    EXPECT_EQ((chart.*get)(), other);
    EXPECT_TRUE(chart.needsDisplay());
    EXPECT_EQ(chart.color(), FUIColor::emerald());
    (chart.*set)(other);
    EXPECT_FALSE(chart.needsDisplay());
}

TEST(GaugeCircleChart, RequestsARedrawForAChangedBandAndTakesItBackForAnEqualOne) {
    using Chart = GaugeCircleChart;
    expectRequestsByDifference(&Chart::setSuccessColor, &Chart::successColor, FUIColor::carrot());
    expectRequestsByDifference(&Chart::setWarningColor, &Chart::warningColor, FUIColor::carrot());
    expectRequestsByDifference(&Chart::setDangerColor, &Chart::dangerColor, FUIColor::carrot());
    expectRequestsByDifference(&Chart::setSuccess, &Chart::success, 10.0);
    expectRequestsByDifference(&Chart::setWarning, &Chart::warning, 10.0);
}

TEST(GaugeCircleChart, KeepsTheLabelOfThePlainRing) {
    GaugeCircleChart chart({0, 0, 96, 96});
    const auto label = std::make_shared<TextField>();
    chart.setMyLabel(label);
    chart.setPercent(42.0);
    EXPECT_EQ(label->stringValue(), "42%");
    EXPECT_EQ(chart.accessibilityValue(), "42%");
}

TEST(GaugeCircleChart, ComesWithItsLabelAndAName) {
    const auto ring = GaugeCircleChart::labelled({0, 0, 96, 96}, "Processor");
    ring->setPercent(95.0);
    ASSERT_TRUE(ring->myLabel());
    EXPECT_EQ(ring->myLabel()->stringValue(), "95%");
    EXPECT_EQ(ring->accessibilityName(), "Processor");
    EXPECT_EQ(ring->color(), FUIColor::alizarin());
}

} // namespace

} // namespace sentrel
