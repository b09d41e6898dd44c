// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/TimedQueue.h>

#include "tests/support/Allocations.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using Ticker = TimedQueue::Ticker;

// Runs everything that is due at a moment.
void runDue(TimedQueue& queue, std::int64_t now) {
    while (auto job = queue.take(now)) {
        job->run();
        queue.finished(*job);
    }
}

TEST(TimedQueue, RunsReadyClosuresInTheirOrder) {
    TimedQueue queue;
    std::string order;
    queue.push(0, [&] { order += "a"; });
    queue.push(0, [&] { order += "b"; });
    runDue(queue, 0);
    EXPECT_EQ(order, "ab");
    EXPECT_TRUE(queue.empty());
}

TEST(TimedQueue, RunsWhatIsDueEarliestFirstAndEqualDeadlinesInTheirOrder) {
    TimedQueue queue;
    std::string order;
    queue.pushAt(20, [&] { order += "c"; });
    queue.pushAt(10, [&] { order += "a"; });
    queue.pushAt(10, [&] { order += "b"; });
    runDue(queue, 9);
    EXPECT_EQ(order, "");
    EXPECT_EQ(queue.nextDeadline(), 10);
    runDue(queue, 20);
    EXPECT_EQ(order, "abc");
}

// Closures that were ready always went before what was due.
TEST(TimedQueue, WhatWasDueFirstRunsFirstClosuresThatWereReadyAtOnceAmongThem) {
    TimedQueue queue;
    std::string order;
    const auto ticker = std::make_shared<Ticker>(10, [&] { order += "t"; });
    queue.resume(ticker, 0);
    queue.push(12, [&] { order += "c"; });
    queue.pushAt(11, [&] { order += "b"; });
    queue.push(9, [&] { order += "a"; });
    runDue(queue, 12);
    EXPECT_EQ(order, "atbc");
}

TEST(TimedQueue, AClosureThatPostsItselfForEverDoesNotHoldUpATicker) {
    TimedQueue queue;
    int ticks = 0;
    std::int64_t now = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, now);
    TimedQueue::Work again = [&] { queue.push(now, again); };
    queue.push(now, again);
    for (int i = 0; i < 1000; ++i, ++now) {
        auto job = queue.take(now);
        ASSERT_TRUE(job);
        job->run();
        queue.finished(*job);
    }
    EXPECT_EQ(ticks, 9);
}

TEST(TimedQueue, ATickThatTakesLongerThanItsIntervalDoesNotHoldUpClosures) {
    TimedQueue queue;
    std::int64_t now = 0;
    std::string order;
    const auto ticker = std::make_shared<Ticker>(16, [&] {
        order += "t";
        now += 20;
    });
    queue.resume(ticker, now);
    now = 16;
    queue.push(now + 1, [&] { order += "a"; });
    for (int i = 0; i < 3; ++i) {
        auto job = queue.take(now);
        ASSERT_TRUE(job);
        job->run();
        queue.finished(*job);
    }
    EXPECT_EQ(order, "tat");
}

TEST(TimedQueue, TellsTheNextDeadlineThatHasNotPassed) {
    TimedQueue queue;
    EXPECT_EQ(queue.nextDeadlineAfter(0), std::nullopt);
    queue.push(5, [] {});
    queue.pushAt(20, [] {});
    EXPECT_EQ(queue.nextDeadline(), 5);
    EXPECT_EQ(queue.nextDeadlineAfter(5), 20);
    EXPECT_EQ(queue.nextDeadlineAfter(20), std::nullopt);
}

TEST(TimedQueue, AnAbandonedTickWaitsForItsNextDeadline) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    const auto suspended = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, 0);
    queue.resume(suspended, 0);
    const auto lost = queue.take(100);
    const auto other = queue.take(100);
    ASSERT_TRUE(lost && other);
    queue.suspend(suspended);
    EXPECT_TRUE(queue.empty());
    queue.abandonJobs();
    EXPECT_EQ(queue.nextDeadline(), 200);
    runDue(queue, 200);
    EXPECT_EQ(ticks, 1);
    queue.suspend(ticker);
    EXPECT_TRUE(queue.empty());
}

TEST(TimedQueue, ATickerFirstTicksOneWholeIntervalAfterItIsResumed) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    EXPECT_EQ(queue.nextDeadline(), std::nullopt);
    queue.resume(ticker, 7);
    runDue(queue, 106);
    EXPECT_EQ(ticks, 0);
    runDue(queue, 107);
    EXPECT_EQ(ticks, 1);
}

TEST(TimedQueue, AResumeAfterTheOldDeadlinePassedWaitsAWholeIntervalAgain) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, 0);
    queue.suspend(ticker);
    runDue(queue, 1000);
    queue.resume(ticker, 1000);
    runDue(queue, 1099);
    EXPECT_EQ(ticks, 0);
    runDue(queue, 1100);
    EXPECT_EQ(ticks, 1);
}

TEST(TimedQueue, ResumingTwiceChangesNothing) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, 0);
    queue.resume(ticker, 50);
    runDue(queue, 100);
    EXPECT_EQ(ticks, 1);
    queue.suspend(ticker);
    EXPECT_TRUE(queue.empty());
}

TEST(TimedQueue, DeadlinesDoNotDriftOverTenThousandLateTicks) {
    TimedQueue queue;
    std::int64_t now = 0;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(1'100'000'000, [&] { ++ticks; });
    queue.resume(ticker, 0);
    for (int i = 1; i <= 10'000; ++i) {
        const std::int64_t deadline = std::int64_t{i} * 1'100'000'000;
        ASSERT_EQ(queue.nextDeadline(), deadline);
        now = deadline + (i * 7919) % 1'000'000'000; // each tick comes late by something else
        runDue(queue, now);
    }
    EXPECT_EQ(ticks, 10'000);
}

TEST(TimedQueue, TicksThatWereMissedMergeIntoOne) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, 0);
    runDue(queue, 550);
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(queue.nextDeadline(), 600);
}

TEST(TimedQueue, ATickDoesNotOverlapItselfAndComesOnceRightAfterALongOne) {
    TimedQueue queue;
    int ticks = 0;
    const auto ticker = std::make_shared<Ticker>(100, [&] { ++ticks; });
    queue.resume(ticker, 0);
    auto running = queue.take(100);
    ASSERT_TRUE(running);
    EXPECT_FALSE(queue.take(350)) << "it still runs";
    running->run();
    queue.finished(*running);
    runDue(queue, 360);
    EXPECT_EQ(ticks, 2) << "the two that were missed came as one";
    EXPECT_EQ(queue.nextDeadline(), 400);
}

TEST(TimedQueue, TicksOfTwoTickersMayRunAtTheSameTime) {
    TimedQueue queue;
    const auto a = std::make_shared<Ticker>(100, [] {});
    const auto b = std::make_shared<Ticker>(100, [] {});
    queue.resume(a, 0);
    queue.resume(b, 0);
    EXPECT_TRUE(queue.take(100));
    EXPECT_TRUE(queue.take(100));
}

TEST(TimedQueue, ATickerSuspendedDuringItsTickDoesNotTickAgain) {
    TimedQueue queue;
    std::shared_ptr<Ticker> ticker;
    int ticks = 0;
    ticker = std::make_shared<Ticker>(100, [&] {
        ++ticks;
        queue.suspend(ticker);
    });
    queue.resume(ticker, 0);
    runDue(queue, 10'000);
    EXPECT_EQ(ticks, 1);
    EXPECT_TRUE(queue.empty());
    ticker.reset();
}

TEST(TimedQueue, ATickerSuspendedAndResumedDuringItsTickWaitsAWholeInterval) {
    TimedQueue queue;
    const auto ticker = std::make_shared<Ticker>(100, [] {});
    queue.resume(ticker, 0);
    auto running = queue.take(100);
    ASSERT_TRUE(running);
    queue.suspend(ticker);
    queue.resume(ticker, 150);
    EXPECT_FALSE(queue.take(1000)) << "it still runs";
    queue.finished(*running);
    EXPECT_EQ(queue.nextDeadline(), 250);
}

// Each tick made a new entry of the schedule.
TEST(TimedQueue, ATickAllocatesNothing) {
    if (!countsAllocations)
        GTEST_SKIP() << "allocations cannot be counted under the address and the thread sanitizer";
    TimedQueue queue;
    int ticks = 0;
    const auto a = std::make_shared<Ticker>(100, [&] { ++ticks; });
    const auto b = std::make_shared<Ticker>(130, [&] { ++ticks; });
    queue.resume(a, 0);
    queue.resume(b, 0);
    runDue(queue, 130);
    const std::size_t before = allocations();
    for (std::int64_t now = 131; now < 2000; ++now)
        runDue(queue, now);
    EXPECT_EQ(allocations(), before);
    EXPECT_GT(ticks, 20);
}

TEST(TimedQueue, AClosureNowAndThenAllocatesNothing) {
    if (!countsAllocations)
        GTEST_SKIP() << "allocations cannot be counted under the address and the thread sanitizer";
    TimedQueue queue;
    int runs = 0;
    queue.push(0, [&] { ++runs; });
    runDue(queue, 0);
    const std::size_t before = allocations();
    for (std::int64_t now = 1; now <= 20; ++now) {
        queue.push(now, [&] { ++runs; });
        runDue(queue, now);
    }
    EXPECT_EQ(allocations(), before);
    EXPECT_EQ(runs, 21);
}

TEST(TimedQueue, WhatAClosureHoldsIsReleasedWithItsJob) {
    TimedQueue queue;
    const auto held = std::make_shared<int>();
    queue.push(0, [held] {});
    std::optional<TimedQueue::Job> job = queue.take(0);
    ASSERT_TRUE(job);
    queue.finished(*job);
    EXPECT_EQ(held.use_count(), 2);
    job.reset();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(TimedQueue, ClearingItReleasesClosuresAndSuspendsTimers) {
    TimedQueue queue;
    const auto held = std::make_shared<int>();
    const auto ticker = std::make_shared<Ticker>(100, [] {});
    queue.push(0, [held] {});
    queue.resume(ticker, 0);
    queue.clear();
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_TRUE(queue.empty());
    queue.suspend(ticker);
    queue.resume(ticker, 500);
    EXPECT_EQ(queue.nextDeadline(), 600);
}

TEST(TimedQueue, AnIntervalBelowOneCountsAsOne) {
    TimedQueue queue;
    const auto ticker = std::make_shared<Ticker>(-5, [] {});
    queue.resume(ticker, 0);
    EXPECT_EQ(queue.nextDeadline(), 1);
}

TEST(TimedQueue, AnIntervalPastTheEndOfTimeNeverTicks) {
    TimedQueue queue;
    const auto ticker = std::make_shared<Ticker>(std::numeric_limits<std::int64_t>::max(), [] {});
    queue.resume(ticker, 1000);
    EXPECT_FALSE(queue.take(std::numeric_limits<std::int64_t>::max() - 1));
}

} // namespace
} // namespace sentrel::platform
