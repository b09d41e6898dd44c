// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/MonotonicTime.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace sentrel::platform {
namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

TEST(MonotonicTime, ReadsAnyClockThatThereIs) {
    const std::int64_t before = monotonicNow();
    const auto between = clockNanoseconds(CLOCK_MONOTONIC);
    EXPECT_LE(before, between);
    EXPECT_LE(between, monotonicNow());
    EXPECT_GE(clockNanoseconds(CLOCK_BOOTTIME), before);
    EXPECT_FALSE(clockNanoseconds(1000));
    EXPECT_EQ(errno, EINVAL);
}

TEST(MonotonicTime, NeverReachesADeadlineThatWouldOverflow) {
    const std::int64_t before = monotonicNow();
    const std::int64_t past = monotonicDeadline(-never);
    EXPECT_LE(past, monotonicNow());
    EXPECT_GE(monotonicDeadline(millisecond), before + millisecond);
    EXPECT_EQ(monotonicDeadline(never), never);
}

TEST(MonotonicTime, WaitsNoMillisecondTooLittle) {
    EXPECT_EQ(pollTimeout(std::nullopt, 0), -1);
    EXPECT_EQ(pollTimeout(5, 5), 0);
    EXPECT_EQ(pollTimeout(4, 5), 0);
    EXPECT_EQ(pollTimeout(1, 0), 1);
    EXPECT_EQ(pollTimeout(millisecond, 0), 1);
    EXPECT_EQ(pollTimeout(millisecond + 1, 0), 2);
    EXPECT_EQ(pollTimeout(never, 0), std::numeric_limits<int>::max());
}

} // namespace
} // namespace sentrel::platform
