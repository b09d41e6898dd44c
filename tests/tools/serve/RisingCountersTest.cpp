// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/RisingCounters.h"

#include <gtest/gtest.h>

#include <string>

namespace tool {
namespace {

TEST(RisingCountersTest, ACounterIsToldAsTheMachineCounts) {
    RisingCounters counters;
    EXPECT_EQ(counters.value("a", 1000, {}), 1000);
    EXPECT_EQ(counters.value("a", 1500, {}), 1500);
    EXPECT_EQ(counters.value("b", 7, {}), 7);
}

TEST(RisingCountersTest, ADeviceThatBeginsAt0CountsOnFromWhereItWas) {
    RisingCounters counters;
    EXPECT_EQ(counters.value("a", 1000, {}), 1000);
    EXPECT_EQ(counters.value("a", 30, {}), 1030);
    EXPECT_EQ(counters.value("a", 50, {}), 1050);
}

TEST(RisingCountersTest, ADeviceThatWasAwayCountsOnFromWhereItWas) {
    RisingCounters counters;
    EXPECT_EQ(counters.value("a", 1000, {}), 1000);
    counters.endRound();
    counters.endRound();
    EXPECT_EQ(counters.value("a", 1200, {}), 1200) << "which kept its count";
    counters.endRound();
    counters.endRound();
    EXPECT_EQ(counters.value("a", 10, {}), 1210) << "which did not";
}

TEST(RisingCountersTest, WhatWobblesStandsStillUntilItIsPastWhereItWas) {
    RisingCounters counters;
    const RisingCounters::Habits habits{.wobble = 10};
    EXPECT_EQ(counters.value("a", 100, habits), 100);
    EXPECT_EQ(counters.value("a", 95, habits), 100);
    EXPECT_EQ(counters.value("a", 99, habits), 100);
    EXPECT_EQ(counters.value("a", 102, habits), 102);
    EXPECT_EQ(counters.value("a", 1, habits), 103) << "too far for a wobble";
}

TEST(RisingCountersTest, WhatWrapsGoesOn) {
    RisingCounters counters;
    const RisingCounters::Habits habits{.range = 1000.0};
    EXPECT_EQ(counters.value("a", 990, habits), 990);
    EXPECT_EQ(counters.value("a", 15, habits), 1015);
    EXPECT_EQ(counters.value("a", 400, habits), 1400);
    EXPECT_EQ(counters.value("a", 20, habits), 1420) << "too far from its end to have wrapped";
}

TEST(RisingCountersTest, OfSeriesThatAreGoneOnlySomeAreRemembered) {
    RisingCounters counters;
    for (std::size_t i = 0; i < 3 * RisingCounters::remembered; ++i) {
        EXPECT_EQ(counters.value("kept", 5, {}), 5);
        EXPECT_EQ(counters.value("veth" + std::to_string(i), 5, {}), 5);
        counters.endRound();
    }
    EXPECT_LE(counters.size(), 2 * RisingCounters::remembered + 2);
    EXPECT_EQ(counters.value("kept", 6, {}), 6);
    EXPECT_EQ(counters.value("veth" + std::to_string(3 * RisingCounters::remembered - 5), 2, {}), 7) << "a recent one";
}

} // namespace
} // namespace tool
