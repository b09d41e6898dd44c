// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/DiskRates.h>

#include <gtest/gtest.h>

namespace sentrel::probes {
namespace {

constexpr std::int64_t second = 1'000'000'000;

class DiskRatesTest : public testing::Test {
protected:
    DiskActivity take(std::int64_t time) {
        rates_.take({&disk, 1}, time, activity_);
        return activity_.at(0);
    }

    DiskOperations disk{.name = "sda",
                        .reads = 1000,
                        .writes = 500,
                        .readTime = 2000,
                        .writeTime = 4000,
                        .busyTime = 3000,
                        .queueTime = 6000,
                        .operationsNow = 2};
    DiskRates rates_;
    std::vector<DiskActivity> activity_;
};

TEST_F(DiskRatesTest, TheFirstSampleOfADiskHasItsCountersAlone) {
    const DiskActivity first = take(5 * second);
    EXPECT_EQ(first.counters.name, "sda");
    EXPECT_EQ(first.counters.operationsNow, 2);
    EXPECT_FALSE(first.readsRate || first.writesRate || first.busy || first.readLatency || first.writeLatency ||
                 first.queueLength);
}

TEST_F(DiskRatesTest, AreMeansOverTheTimeBetweenTwoSamples) {
    take(5 * second);
    disk.reads += 40;
    disk.writes += 20;
    disk.readTime += 80;
    disk.writeTime += 400;
    *disk.busyTime += 500;
    *disk.queueTime += 3000;
    const DiskActivity activity = take(7 * second);
    EXPECT_DOUBLE_EQ(activity.readsRate.value(), 20);
    EXPECT_DOUBLE_EQ(activity.writesRate.value(), 10);
    EXPECT_DOUBLE_EQ(activity.busy.value(), 25);
    EXPECT_DOUBLE_EQ(activity.readLatency.value(), 0.002);
    EXPECT_DOUBLE_EQ(activity.writeLatency.value(), 0.02);
    EXPECT_DOUBLE_EQ(activity.queueLength.value(), 1.5);
}

TEST_F(DiskRatesTest, WithoutAnOperationThatEndedThereIsNoLatency) {
    take(5 * second);
    *disk.busyTime += 1000;
    const DiskActivity activity = take(6 * second);
    EXPECT_EQ(activity.readLatency, std::nullopt);
    EXPECT_DOUBLE_EQ(activity.readsRate.value(), 0);
    EXPECT_DOUBLE_EQ(activity.busy.value(), 100) << "one operation that does not end";
}

TEST_F(DiskRatesTest, ADiskIsNeverBusierThanAllTheTime) {
    take(5 * second);
    *disk.busyTime += 1004;
    EXPECT_DOUBLE_EQ(take(6 * second).busy.value(), 100);
}

TEST_F(DiskRatesTest, TimesGoOnBeyondTheir32Bits) {
    disk.readTime = 0xFFFFFFF0U;
    disk.busyTime = 0xFFFFFFFFU;
    take(5 * second);
    disk.reads += 4;
    disk.readTime = 0x10; // 32 milliseconds later
    disk.busyTime = 99;
    const DiskActivity activity = take(6 * second);
    EXPECT_DOUBLE_EQ(activity.readLatency.value(), 0.008);
    EXPECT_DOUBLE_EQ(activity.busy.value(), 10);
}

TEST_F(DiskRatesTest, WhatWentBackHasNoFigureForThatSample) {
    take(5 * second);
    disk.reads = 1;
    disk.readTime = 1;
    disk.busyTime = 1;
    disk.queueTime = 1;
    disk.writes += 3;
    DiskActivity activity = take(6 * second);
    EXPECT_FALSE(activity.readsRate || activity.readLatency || activity.busy || activity.queueLength);
    EXPECT_DOUBLE_EQ(activity.writesRate.value(), 3);
    disk.reads = 3;
    EXPECT_DOUBLE_EQ(take(7 * second).readsRate.value(), 2);
}

TEST_F(DiskRatesTest, WhatTheSystemDoesNotCountHasNoFigure) {
    disk.busyTime.reset();
    disk.queueTime.reset();
    disk.operationsNow.reset();
    take(5 * second);
    disk.reads += 40;
    disk.readTime += 80;
    DiskActivity activity = take(7 * second);
    EXPECT_FALSE(activity.busy || activity.queueLength || activity.counters.operationsNow);
    EXPECT_DOUBLE_EQ(activity.readsRate.value(), 20);
    EXPECT_DOUBLE_EQ(activity.readLatency.value(), 0.002);
    disk.busyTime = 7000;
    EXPECT_FALSE(take(8 * second).busy) << "nothing to count from";
    *disk.busyTime += 250;
    EXPECT_DOUBLE_EQ(take(9 * second).busy.value(), 25);
}

TEST_F(DiskRatesTest, WithoutTimeBetweenTwoSamplesThereIsNone) {
    take(5 * second);
    *disk.busyTime += 5;
    const DiskActivity activity = take(5 * second);
    EXPECT_FALSE(activity.readsRate || activity.busy || activity.queueLength);
}

} // namespace
} // namespace sentrel::probes
