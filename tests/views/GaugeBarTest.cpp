// SPDX-License-Identifier: Apache-2.0
#include "tests/views/DrawnCalls.h"

#include <SentrelKit/views/GaugeBar.h>

#include <limits>

namespace sentrel {

namespace {

class GaugeBars : public LineDefaults {};

TEST_F(GaugeBars, StartsInThePlainBarsColourAlthoughItsValueIsASuccess) {
    const GaugeBar bar({0, 0, 200, 20});
    EXPECT_EQ(bar.color(), FUIColor::peterRiver());
    EXPECT_EQ(bar.percent(), 50.0);
    EXPECT_EQ(bar.successColor(), FUIColor::emerald());
    EXPECT_EQ(bar.warningColor(), FUIColor::sunflower());
    EXPECT_EQ(bar.dangerColor(), FUIColor::alizarin());
    EXPECT_EQ(bar.success(), 91.0);
    EXPECT_EQ(bar.warning(), 99.0);
    EXPECT_TRUE(bar.colorize());
    EXPECT_FALSE(bar.confirm());
    EXPECT_TRUE(bar.rounded());
    EXPECT_TRUE(bar.fill());
    EXPECT_EQ(bar.lineWidth(), 2.0);
    EXPECT_FALSE(bar.isFlipped());
}

TEST_F(GaugeBars, ColoursItselfByItsBand) {
    const std::pair<double, Color> bands[] = {
        {-10.0, FUIColor::emerald()},  {90.9, FUIColor::emerald()},
        {91.0, FUIColor::sunflower()}, {95.0, FUIColor::sunflower()},
        {98.9, FUIColor::sunflower()}, {99.0, FUIColor::alizarin()},
        {150.0, FUIColor::alizarin()}, {std::numeric_limits<double>::quiet_NaN(), FUIColor::alizarin()}};
    for (const auto& [percent, color] : bands) {
        GaugeBar bar({0, 0, 200, 20});
        bar.setPercent(percent);
        EXPECT_EQ(bar.color(), color) << percent;
        EXPECT_TRUE(bar.needsDisplay()) << percent;
    }
}

TEST_F(GaugeBars, ColoursItsTrackWithItsBand) {
    GaugeBar bar({0, 0, 200, 20});
    bar.setPercent(95.0);
    const auto strokes = strokesOf(bar);
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_EQ(std::get<Color>(strokes[0].paint), FUIColor::sunflower(0.2));
    EXPECT_EQ(std::get<Color>(strokes[1].paint), FUIColor::sunflower());
    EXPECT_EQ(strokes[1].path.elements()[1].points[0], (Point{190, 9}));
}

TEST_F(GaugeBars, LeavesItsColourToTheHostWhenItDoesNotColorize) {
    GaugeBar bar({0, 0, 200, 20});
    bar.setColorize(false);
    bar.setColor(FUIColor::wisteria());
    bar.setPercent(100.0);
    EXPECT_EQ(bar.color(), FUIColor::wisteria());
    EXPECT_TRUE(bar.needsDisplay());
}

TEST_F(GaugeBars, ClearsAPendingRedrawForAnEqualPercentageEvenInANewColour) {
    GaugeBar bar({0, 0, 200, 20});
    bar.setPercent(95.0);
    bar.setPercent(95.0);
    EXPECT_FALSE(bar.needsDisplay());
    bar.setSuccess(96.0);
    bar.setPercent(95.0); // meant so: the value's own request overrides the colour's
    EXPECT_EQ(bar.color(), FUIColor::emerald());
    EXPECT_FALSE(bar.needsDisplay());
}

TEST_F(GaugeBars, HasNoWarningBandWhenTheThresholdsStandTheOtherWayRound) {
    // The tests run in their order: below the first threshold is success, whatever the second says.
    for (const auto& [percent, color] : {std::pair{89.0, FUIColor::emerald()},
                                         {90.0, FUIColor::emerald()},
                                         {94.9, FUIColor::emerald()},
                                         {95.0, FUIColor::alizarin()}}) {
        GaugeBar bar({0, 0, 200, 20});
        bar.setSuccess(95.0);
        bar.setWarning(90.0);
        bar.setPercent(percent);
        EXPECT_EQ(bar.color(), color) << percent;
    }
}

template <class Value>
void expectRequestsByDifference(void (Gauge<Bar>::*set)(Value), Value (Gauge<Bar>::*get)() const noexcept,
                                Value other) {
    GaugeBar bar({0, 0, 200, 20});
    (bar.*set)(other);
    EXPECT_EQ((bar.*get)(), other);
    EXPECT_TRUE(bar.needsDisplay());
    EXPECT_EQ(bar.color(), FUIColor::peterRiver());
    (bar.*set)(other);
    EXPECT_FALSE(bar.needsDisplay());
}

TEST_F(GaugeBars, RequestsARedrawForAChangedBandAndTakesItBackForAnEqualOne) {
    expectRequestsByDifference(&GaugeBar::setSuccessColor, &GaugeBar::successColor, FUIColor::carrot());
    expectRequestsByDifference(&GaugeBar::setWarningColor, &GaugeBar::warningColor, FUIColor::carrot());
    expectRequestsByDifference(&GaugeBar::setDangerColor, &GaugeBar::dangerColor, FUIColor::carrot());
    expectRequestsByDifference(&GaugeBar::setSuccess, &GaugeBar::success, 10.0);
    expectRequestsByDifference(&GaugeBar::setWarning, &GaugeBar::warning, 10.0);
}

TEST_F(GaugeBars, KeepsTheHostsHookWithoutCallingIt) {
    GaugeBar bar({0, 0, 200, 20});
    int calls = 0;
    bar.setConfirm([&] { return ++calls > 0; });
    bar.setPercent(100.0);
    drawn(bar);
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(bar.confirm()());
    bar.setConfirm(nullptr);
    EXPECT_FALSE(bar.confirm());
}

// It was handed out by reference, and destroyed while it ran.
TEST_F(GaugeBars, LetsTheHostsHookReplaceItselfWhileItRuns) {
    GaugeBar bar({0, 0, 200, 20});
    const std::string name(100, 'a'); // too long to lie inside the hook itself
    std::string seen;
    bar.setConfirm([&bar, &seen, name] {
        bar.setConfirm(nullptr);
        seen = name;
        return true;
    });
    EXPECT_TRUE(bar.confirm()());
    EXPECT_EQ(seen, name);
    EXPECT_FALSE(bar.confirm());
}

} // namespace

} // namespace sentrel
