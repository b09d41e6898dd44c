// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/CounterRates.h>

#include <gtest/gtest.h>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

TEST(CounterRates, AreWhatWasAddedByTheTimeInBetween) {
    CounterRates rates;
    EXPECT_FALSE(rates.perSecond("a", 100, {}, 5 * second)) << "the first sample";
    EXPECT_EQ(rates.perSecond("a", 130, {}, 7 * second), 15);
    EXPECT_EQ(rates.perSecond("a", 130, {}, 8 * second), 0) << "nothing was added";
    EXPECT_FALSE(rates.perSecond("b", 130, {}, 8 * second)) << "each counter by itself";
}

TEST(CounterRates, GoOnceRoundTheRange) {
    CounterRates rates;
    EXPECT_FALSE(rates.perSecond("a", 990, 1000.0, second));
    EXPECT_EQ(rates.perSecond("a", 10, 1000.0, 3 * second), 10);
    EXPECT_FALSE(rates.perSecond("b", 990, {}, second));
    EXPECT_FALSE(rates.perSecond("b", 10, {}, 3 * second)) << "it began anew";
    EXPECT_EQ(rates.perSecond("b", 30, {}, 5 * second), 10);
    EXPECT_FALSE(rates.perSecond("c", 5000, 1000.0, second));
    EXPECT_FALSE(rates.perSecond("c", 10, 1000.0, 3 * second)) << "more than its range";
}

TEST(CounterRates, AreAbsentWithoutTimeAndAfterALongGap) {
    CounterRates rates;
    EXPECT_FALSE(rates.perSecond("a", 1, {}, second));
    EXPECT_FALSE(rates.perSecond("a", 2, {}, second));
    EXPECT_FALSE(rates.perSecond("a", 3, {}, second / 2));
    EXPECT_TRUE(rates.perSecond("a", 4, {}, second / 2 + CounterRates::oldest));
    EXPECT_FALSE(rates.perSecond("a", 5, {}, second / 2 + 2 * CounterRates::oldest + 1));
    EXPECT_TRUE(rates.perSecond("a", 6, {}, second + 2 * CounterRates::oldest));
}

TEST(CounterRates, ForgetCountersThatAreNotInTheSample) {
    CounterRates rates;
    EXPECT_FALSE(rates.perSecond("a", 1, {}, second));
    EXPECT_FALSE(rates.perSecond("b", 1, {}, second));
    rates.keepOnly(second);
    EXPECT_TRUE(rates.perSecond("a", 2, {}, 2 * second));
    rates.keepOnly(2 * second);
    EXPECT_FALSE(rates.perSecond("b", 2, {}, 3 * second)) << "another one by then, perhaps";
}

} // namespace
} // namespace sentrel::probes
