// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/EnergyRates.h>

#include <gtest/gtest.h>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

TEST(EnergyRates, AreWhatWasUsedByTheTimeInBetween) {
    EnergyRates rates;
    EXPECT_FALSE(rates.watts("a", 100, {}, 5 * second)) << "the first sample";
    EXPECT_EQ(rates.watts("a", 130, {}, 7 * second), 15);
    EXPECT_EQ(rates.watts("a", 130, {}, 8 * second), 0) << "nothing was used";
    EXPECT_FALSE(rates.watts("b", 130, {}, 8 * second)) << "each counter by itself";
}

TEST(EnergyRates, GoOnceRoundTheRange) {
    EnergyRates rates;
    EXPECT_FALSE(rates.watts("a", 990, 1000.0, second));
    EXPECT_EQ(rates.watts("a", 10, 1000.0, 3 * second), 10);
    EXPECT_FALSE(rates.watts("b", 990, {}, second));
    EXPECT_FALSE(rates.watts("b", 10, {}, 3 * second)) << "it began anew";
    EXPECT_EQ(rates.watts("b", 30, {}, 5 * second), 10);
    EXPECT_FALSE(rates.watts("c", 5000, 1000.0, second));
    EXPECT_FALSE(rates.watts("c", 10, 1000.0, 3 * second)) << "more than its range";
}

TEST(EnergyRates, AreAbsentWithoutTimeAndAfterALongGap) {
    EnergyRates rates;
    EXPECT_FALSE(rates.watts("a", 1, {}, second));
    EXPECT_FALSE(rates.watts("a", 2, {}, second));
    EXPECT_FALSE(rates.watts("a", 3, {}, second / 2));
    EXPECT_TRUE(rates.watts("a", 4, {}, second / 2 + EnergyRates::oldest));
    EXPECT_FALSE(rates.watts("a", 5, {}, second / 2 + 2 * EnergyRates::oldest + 1));
    EXPECT_TRUE(rates.watts("a", 6, {}, second + 2 * EnergyRates::oldest));
}

TEST(EnergyRates, ForgetCountersThatAreNotInTheSample) {
    EnergyRates rates;
    EXPECT_FALSE(rates.watts("a", 1, {}, second));
    EXPECT_FALSE(rates.watts("b", 1, {}, second));
    rates.keepOnly(second);
    EXPECT_TRUE(rates.watts("a", 2, {}, 2 * second));
    rates.keepOnly(2 * second);
    EXPECT_FALSE(rates.watts("b", 2, {}, 3 * second)) << "another one by then, perhaps";
}

} // namespace
} // namespace sentrel::probes
