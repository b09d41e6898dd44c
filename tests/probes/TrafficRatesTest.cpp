// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/TrafficRates.h>

#include <gtest/gtest.h>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

class TrafficRatesTest : public testing::Test {
protected:
    const std::vector<InterfaceTraffic>& take(const std::vector<InterfaceCounters>& counters, std::int64_t time) {
        rates_.take(counters, time, traffic_);
        return traffic_;
    }

    InterfaceCounters lan{.name = "lan0",
                          .index = 2,
                          .packetsIn = 1000,
                          .packetsOut = 500,
                          .errorsIn = 10,
                          .errorsOut = 5,
                          .dropsIn = 4,
                          .dropsOut = 2};
    TrafficRates rates_;
    std::vector<InterfaceTraffic> traffic_;
};

TEST_F(TrafficRatesTest, AreWhatWasCountedBetweenTwoSamplesASecond) {
    take({lan}, 5 * second);
    lan.packetsIn += 30;
    lan.packetsOut += 20;
    lan.errorsIn += 10;
    lan.errorsOut += 5;
    lan.dropsIn += 3;
    *lan.dropsOut += 1;
    const InterfaceTraffic traffic = take({lan}, 7 * second).at(0);
    EXPECT_DOUBLE_EQ(traffic.packetsInRate.value(), 15);
    EXPECT_DOUBLE_EQ(traffic.packetsOutRate.value(), 10);
    EXPECT_DOUBLE_EQ(traffic.errorsInRate.value(), 5);
    EXPECT_DOUBLE_EQ(traffic.errorsOutRate.value(), 2.5);
    EXPECT_DOUBLE_EQ(traffic.dropsInRate.value(), 1.5);
    EXPECT_DOUBLE_EQ(traffic.dropsOutRate.value(), 0.5);
    EXPECT_DOUBLE_EQ(take({lan}, 8 * second).at(0).packetsInRate.value(), 0) << "nothing came meanwhile";
}

TEST_F(TrafficRatesTest, ACounterThatWentBackHasNoneForThatSampleAndTheOthersHaveTheirs) {
    take({lan}, 5 * second);
    lan.packetsIn = 3;
    lan.packetsOut += 20;
    EXPECT_EQ(take({lan}, 6 * second).at(0).packetsInRate, std::nullopt);
    EXPECT_DOUBLE_EQ(traffic_[0].packetsOutRate.value(), 20);
    lan.packetsIn = 5;
    EXPECT_DOUBLE_EQ(take({lan}, 7 * second).at(0).packetsInRate.value(), 2);
}

TEST_F(TrafficRatesTest, AnInterfaceMadeAnewUnderItsNameBeginsAnewAndTheOthersGoOnWhereverTheyStand) {
    const InterfaceCounters other{.name = "wan0", .index = 3};
    take({lan, other}, 5 * second);
    lan.index = 9;
    const auto& traffic = take({other, lan}, 6 * second);
    EXPECT_DOUBLE_EQ(traffic[0].packetsInRate.value(), 0);
    EXPECT_EQ(traffic[1].packetsInRate, std::nullopt);
}

TEST_F(TrafficRatesTest, WhatASystemDoesNotCountHasNone) {
    lan.dropsOut.reset();
    take({lan}, 5 * second);
    EXPECT_EQ(take({lan}, 6 * second).at(0).dropsOutRate, std::nullopt);
    lan.dropsOut = 5;
    EXPECT_EQ(take({lan}, 7 * second).at(0).dropsOutRate, std::nullopt);
}

} // namespace
} // namespace sentrel::probes
