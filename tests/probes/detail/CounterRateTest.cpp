// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/CounterRate.h>

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <optional>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

TEST(CounterRate, IsAbsentAtFirstAndThenTheDifferenceASecond) {
    CounterRate rate;
    EXPECT_EQ(rate.sample(100, 5 * second), std::nullopt);
    EXPECT_EQ(rate.sample(150, 7 * second), 25);
    EXPECT_EQ(rate.sample(150, 8 * second), 0);
    EXPECT_EQ(rate.sample(153, 8 * second + second / 2), 6);
}

TEST(CounterRate, IsAbsentWhereTheCounterWentBackAndNeverNegative) {
    CounterRate rate;
    EXPECT_EQ(rate.sample(100, 0), std::nullopt);
    EXPECT_EQ(rate.sample(99, second), std::nullopt);
    EXPECT_EQ(rate.sample(109, 2 * second), 10) << "from where it went back to";
}

TEST(CounterRate, IsAbsentWithoutTimeBetween) {
    CounterRate rate;
    EXPECT_EQ(rate.sample(100, second), std::nullopt);
    EXPECT_EQ(rate.sample(200, second), std::nullopt);
    EXPECT_EQ(rate.sample(200, 0), std::nullopt);
}

TEST(CounterRate, BeginsAnewAfterAReadingThatWasAbsent) {
    CounterRate rate;
    EXPECT_EQ(rate.sample(100, 0), std::nullopt);
    EXPECT_EQ(rate.sample(std::nullopt, second), std::nullopt);
    EXPECT_EQ(rate.sample(300, 2 * second), std::nullopt);
    EXPECT_EQ(rate.sample(310, 3 * second), 10);
}

TEST(CounterRate, HoldsTheLargestCounts) {
    CounterRate rate;
    EXPECT_EQ(rate.sample(0, 0), std::nullopt);
    EXPECT_EQ(rate.sample(std::numeric_limits<std::uint64_t>::max(), second), 18446744073709551616.0);
}

} // namespace
} // namespace sentrel::probes
