// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/PerSecond.h>

#include <gtest/gtest.h>

#include <limits>

namespace sentrel {
namespace {

TEST(PerSecond, IsTheDifferenceOverTheTime) {
    EXPECT_EQ(perSecond(1100, 0, 1100), 1000.0);
    EXPECT_EQ(perSecond(5, 5, 1), 0.0);
    EXPECT_EQ(perSecond(0, 1000, 2000), -500.0);
}

TEST(PerSecond, KeepsTheLowBitsOfADifferenceBeyondThem) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(perSecond(most, least, 1000), -1.0);
    EXPECT_EQ(perSecond(least, most, 1000), 1.0);
}

} // namespace
} // namespace sentrel
