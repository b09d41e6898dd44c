// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/detail/ProcessorShares.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace sentrel::probes {
namespace {

using platform::NumberedTicks;
using platform::ProcessorTicks;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr ProcessorTicks before{100, 10, 50, 800, 20, 5};

TEST(ProcessorShares, AreOfTheTicksBetween) {
    // 40 and 10 in programs, 20 in the kernel, 100 at rest, 20 waiting, 10 stolen: 200 in all.
    const auto shares = processorShares(before, {140, 20, 70, 900, 40, 15});
    EXPECT_EQ(shares, (ProcessorShares{25, 10, 50, 10, 5}));
}

TEST(ProcessorShares, LeaveOutWhatIsNotCounted) {
    const auto shares = processorShares({0, 0, 0, 0, std::nullopt, std::nullopt}, {1, 0, 1, 2, std::nullopt, 9});
    EXPECT_EQ(shares, (ProcessorShares{25, 25, 50, std::nullopt, std::nullopt}));
}

TEST(ProcessorShares, AreAbsentWithoutATick) {
    EXPECT_EQ(processorShares(before, before), std::nullopt);
    EXPECT_EQ(processorShares(before, {}), std::nullopt) << "all counts went back";
}

TEST(ProcessorShares, CountAStepBackAsNothing) {
    const auto shares = processorShares(before, {110, 10, 50, 890, 10, 0});
    EXPECT_EQ(shares, (ProcessorShares{10, 0, 90, 0, 0}));
}

TEST(CoreShares, AreOfTheProcessorsThatAreInBothReadings) {
    const ProcessorTicks later{110, 10, 60, 880, 20, 5};
    const std::vector<NumberedTicks> first = {{0, before}, {1, before}, {3, before}, {9, before}};
    const std::vector<NumberedTicks> second = {{0, later}, {2, later}, {3, before}, {9, later}, {10, later}};
    std::vector<CoreShares> shares(7);
    coreShares(first, second, shares);
    EXPECT_THAT(shares, ElementsAre(CoreShares{0, {10, 10, 80, 0, 0}}, CoreShares{9, {10, 10, 80, 0, 0}}));
    coreShares({}, second, shares);
    EXPECT_THAT(shares, IsEmpty());
}

} // namespace
} // namespace sentrel::probes
