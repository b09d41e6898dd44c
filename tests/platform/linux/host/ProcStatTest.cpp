// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ProcStat.h>

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(ProcStat, ReadsTheFirstLineAndLeavesGuestTimeWhereItAlreadyIs) {
    const auto times = parseProcessorTimes("cpu  100 20 30 400 50 6 7 8 90 15\ncpu0 1 2 3 4 5 6 7 8 9 10\n");
    ASSERT_TRUE(times);
    EXPECT_EQ(times->user, 100u);
    EXPECT_EQ(times->nice, 20u);
    EXPECT_EQ(times->system, 30u);
    EXPECT_EQ(times->idle, 400u);
    EXPECT_EQ(times->iowait, 50u);
    EXPECT_EQ(times->irq, 6u);
    EXPECT_EQ(times->softirq, 7u);
    EXPECT_EQ(times->steal, 8u);
    // 90 and 15 ticks of guests are inside user and nice: counted again they would make 715.
    const HostLoadTicks ticks = SteadyTicks().add(*times);
    EXPECT_EQ(ticks.user + ticks.system + ticks.idle + ticks.nice, 621u);
}

TEST(ProcStat, CountsInterruptsAndStolenTimeAsSystemAndWaitingAsIdle) {
    SteadyTicks steady;
    EXPECT_EQ(steady.add({1, 2, 30, 400, 50, 6, 7, 8}), (HostLoadTicks{1, 51, 450, 2}));
}

TEST(ProcStat, ReadsTheShorterLinesOfOldKernelsAndALineWithoutItsEnd) {
    for (const char* text : {"cpu  1 2 3 4", "cpu  1 2 3 4\n", "cpu 1 2 3 4 0 0 0\nintr 5\n"}) {
        const auto times = parseProcessorTimes(text);
        ASSERT_TRUE(times) << text;
        EXPECT_EQ(times->idle, 4u) << text;
        EXPECT_EQ(times->iowait, 0u) << text;
        EXPECT_EQ(times->steal, 0u) << text;
    }
}

TEST(ProcStat, RefusesAnythingButAWholeFirstLine) {
    for (const char* text :
         {"", "\n", "cpu", "cpu \n", "cpu  1 2 3\n", "cpu  1 2 3 x\n", "cpu0 1 2 3 4\n", "intr 1\ncpu  1 2 3 4\n",
          "cpu  1 2 3 -4\n", "cpu  99999999999999999999 2 3 4\n", "cpu\t1 2 3 4\n", "\0\0\0\0"})
        EXPECT_FALSE(parseProcessorTimes(text)) << '"' << text << '"';
}

// The kernel takes iowait back when a waiting task moves on: the time was idle all along.
TEST(SteadyTicks, LosesNoTimeThatMovesFromWaitingToIdle) {
    SteadyTicks steady;
    ProcessorTimes times;
    times.idle = 1000;
    times.iowait = 100;
    EXPECT_EQ(steady.add(times).idle, 1100u);
    times.idle = 1030;
    times.iowait = 80;
    EXPECT_EQ(steady.add(times).idle, 1110u);
}

// A machine that moved to another host starts to count stolen time anew.
TEST(SteadyTicks, TakesAStepBackAsNothingAndCountsOnFromThere) {
    SteadyTicks steady;
    ProcessorTimes times{100, 10, 50, 1000, 0, 0, 0, 500};
    EXPECT_EQ(steady.add(times), (HostLoadTicks{100, 550, 1000, 10}));
    times.steal = 3;
    times.system = 60;
    EXPECT_EQ(steady.add(times), (HostLoadTicks{100, 560, 1000, 10}));
    times.steal = 5;
    EXPECT_EQ(steady.add(times), (HostLoadTicks{100, 562, 1000, 10}));
}

TEST(SteadyTicks, NeverDecreasesWhenAProcessorIsTakenAway) {
    SteadyTicks steady;
    const HostLoadTicks before = steady.add({4000, 400, 800, 90000, 100, 10, 20, 30});
    const HostLoadTicks after = steady.add({2000, 200, 400, 45000, 50, 5, 10, 15});
    EXPECT_EQ(before, after);
    EXPECT_EQ(steady.add({2001, 200, 400, 45007, 50, 5, 10, 15}), (HostLoadTicks{4001, 860, 90107, 400}));
}

TEST(SteadyTicks, WrapsAtThirtyTwoBits) {
    SteadyTicks steady;
    ProcessorTimes times;
    times.idle = 0xffff'fff0u;
    EXPECT_EQ(steady.add(times).idle, 0xffff'fff0u);
    times.idle += 0x20;
    EXPECT_EQ(steady.add(times).idle, 0x10u);
}

TEST(ProcStat, ReadsEachProcessorAndWhatHappened) {
    ProcessorLoad load;
    ASSERT_TRUE(parseProcessorLoad("cpu  100 20 30 400 50 6 7 8 90 15\n"
                                   "cpu0 50 10 15 200 25 3 4 5 45 7\n"
                                   "cpu2 50 10 15 200 25 3 3 3 45 8\n"
                                   "intr 1234 5 6 7\nctxt 5678\nbtime 1\nprocesses 90\nprocs_running 1\n",
                                   load));
    EXPECT_EQ(load.all, (ProcessorTicks{100, 20, 43, 400, 50, 8}));
    EXPECT_EQ(load.each, (std::vector<NumberedTicks>{{0, {50, 10, 22, 200, 25, 5}}, {2, {50, 10, 21, 200, 25, 3}}}));
    EXPECT_EQ(load.interrupts, 1234U);
    EXPECT_EQ(load.contextSwitches, 5678U);
    EXPECT_EQ(load.forks, 90U);
}

TEST(ProcStat, ReadsNoProcessorThatIsTornOrOutOfOrder) {
    ProcessorLoad load;
    ASSERT_TRUE(parseProcessorLoad("cpu  1 2 3 4\ncpu1 1 2 3 4\ncpu0 1 2 3 4\ncpu1 1 2 3 4\ncpux 1 2 3 4\n"
                                   "cpu5 1 2 3\ncpu99999999999 1 2 3 4\ncpu7 1 2 3 4 5\nctxt\nintr x",
                                   load));
    EXPECT_EQ(load.each, (std::vector<NumberedTicks>{{1, {1, 2, 3, 4, std::nullopt, std::nullopt}},
                                                     {7, {1, 2, 3, 4, 5, std::nullopt}}}));
    EXPECT_EQ(load.contextSwitches, std::nullopt);
    EXPECT_EQ(load.interrupts, std::nullopt);
    EXPECT_EQ(load.forks, std::nullopt);
}

TEST(ProcStat, LeavesTheRecordWhereTheFirstLineIsNotWhole) {
    ProcessorLoad load;
    load.forks = 7;
    for (const char* text : {"", "\n", "cpu", "cpu  1 2 3", "cpu0 1 2 3 4\n", "intr 5\n"})
        EXPECT_FALSE(parseProcessorLoad(text, load)) << text;
    EXPECT_EQ(load.forks, 7U);
}

} // namespace
} // namespace sentrel::platform
