// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/layers/Animation.h>

#include <cmath>
#include <gtest/gtest.h>

namespace sentrel {
namespace {

TEST(TimingFunction, RunsFromNothingToAllOnEveryCurve) {
    for (const TimingFunction& curve : {TimingFunction::linear(), TimingFunction::easeIn(), TimingFunction::easeOut(),
                                        TimingFunction::easeInEaseOut()}) {
        EXPECT_EQ(curve.at(-1.0), 0.0);
        EXPECT_EQ(curve.at(0.0), 0.0);
        EXPECT_EQ(curve.at(1.0), 1.0);
        EXPECT_EQ(curve.at(2.0), 1.0);
        EXPECT_EQ(curve.at(std::nan("")), 0.0);
        double before = 0.0;
        for (double t = 0.05; t < 1.0; t += 0.05) {
            EXPECT_GT(curve.at(t), before);
            before = curve.at(t);
        }
    }
}

// Points of the standard curves, from solving the cubic by hand: the parameter t gives the time, then the way.
TEST(TimingFunction, FollowsTheStandardCurves) {
    const double t = 0.5;
    const double easeInTime = 3 * 0.25 * 0.5 * 0.42 + 3 * 0.5 * 0.25 * 1.0 + 0.125;
    EXPECT_NEAR(TimingFunction::easeIn().at(easeInTime), 3 * 0.5 * 0.25 * 1.0 + 0.125, 1e-12);
    EXPECT_NEAR(TimingFunction::easeInEaseOut().at(t), 0.5, 1e-12);
    EXPECT_NEAR(TimingFunction::linear().at(0.3), 0.3, 1e-12);
    EXPECT_LT(TimingFunction::easeIn().at(0.1), 0.02);      // slow start
    EXPECT_GT(1.0 - TimingFunction::easeIn().at(0.9), 0.1); // full speed at the end
    EXPECT_NEAR(TimingFunction::easeOut().at(1.0 - easeInTime), 1.0 - TimingFunction::easeIn().at(easeInTime), 1e-12);
}

} // namespace
} // namespace sentrel
