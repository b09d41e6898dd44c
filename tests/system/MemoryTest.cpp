// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Memory.h>

#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/Allocations.h"

#include <cerrno>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

constexpr std::uint64_t page = 4096;

void sample(ScriptedMachine& machine, Memory& memory, std::uint32_t wired, std::uint32_t active,
            std::uint32_t compressed, std::uint32_t free, std::uint32_t inactive) {
    platform::VirtualMemoryCounters counters;
    counters.wire_count = wired;
    counters.active_count = active;
    counters.compressor_page_count = compressed;
    counters.free_count = free;
    counters.inactive_count = inactive;
    machine->host().virtualMemoryValue = counters;
    memory.update();
}

TEST(Memory, KnowsItsSizeFromTheStartAndIsElseZero) {
    ScriptedMachine machine;
    machine->host().physicalMemoryValue = 16ull << 30;
    const Memory memory;
    EXPECT_EQ(memory.type(), SystemResourceType::mem);
    EXPECT_EQ(memory.physical(), 16ull << 30);
    EXPECT_EQ(memory.wired() + memory.active() + memory.compressed() + memory.free(), 0u);
    EXPECT_EQ(memory.appMemory() + memory.cachedFiles(), 0u);
    EXPECT_EQ(memory.pagesIn() + memory.pagesOut() + memory.pagesFault(), 0u);
    machine->host().calls.fail("physicalMemory");
    EXPECT_EQ(Memory().physical(), 0u);
}

TEST(Memory, TakesASampleWithInactiveMemoryAsFree) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue = platform::VirtualMemoryCounters{1, 2, 3, 4, 5, 6, 7, 8, 100, 30, 50};
    Memory memory;
    memory.update();
    EXPECT_EQ(memory.free(), 4 * page); // 1 free, 3 inactive: meant so
    EXPECT_EQ(memory.active(), 2 * page);
    EXPECT_EQ(memory.wired(), 4 * page);
    EXPECT_EQ(memory.compressed(), 5 * page);
    EXPECT_EQ(memory.pagesIn(), 6u);
    EXPECT_EQ(memory.pagesOut(), 7u);
    EXPECT_EQ(memory.pagesFault(), 8u);
    EXPECT_EQ(memory.appMemory(), 70 * page);
    EXPECT_EQ(memory.cachedFiles(), 80 * page);
}

TEST(Memory, TellsItsUsageInPercent) {
    ScriptedMachine machine;
    Memory memory;
    sample(machine, memory, 2, 3, 1, 3, 1);
    EXPECT_EQ(memory.usage(), 60);
    EXPECT_EQ(memory.percents(), (Memory::Percents{20, 30, 10, 40}));
}

TEST(Memory, RoundsHalvesAwayFromZeroSoThatThePercentsNeedNotAddUp) {
    ScriptedMachine machine;
    Memory memory;
    sample(machine, memory, 25, 25, 25, 125, 0); // 12.5 % three times, 62.5 %
    EXPECT_EQ(memory.percents(), (Memory::Percents{13, 13, 13, 63}));
    EXPECT_EQ(memory.usage(), 38); // 37.5 %
    sample(machine, memory, 1, 1, 1, 0, 0);
    EXPECT_EQ(memory.percents(), (Memory::Percents{33, 33, 33, 0}));
    EXPECT_EQ(memory.usage(), 100);
}

TEST(Memory, IsZeroPercentBeforeTheFirstSample) {
    ScriptedMachine machine;
    const Memory memory;
    EXPECT_EQ(memory.usage(), 0);
    EXPECT_EQ(memory.percents(), Memory::Percents{});
}

TEST(Memory, HoldsTheLargestMachine) {
    ScriptedMachine machine;
    Memory memory;
    const std::uint32_t most = 0xffff'ffffu;
    sample(machine, memory, most, most, most, most, most);
    EXPECT_EQ(memory.free(), std::uint64_t{most} * 2 * page);
    EXPECT_EQ(memory.usage(), 60);
}

TEST(Memory, KeepsItsFiguresWhenASampleFails) {
    ScriptedMachine machine;
    Memory memory;
    sample(machine, memory, 2, 3, 1, 4, 0);
    machine->host().calls.fail("virtualMemory", {.call = 1});
    testing::internal::CaptureStderr();
    memory.update();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Error: host_statistics64 -- "), std::string::npos);
    EXPECT_EQ(memory.wired(), 2 * page);
    EXPECT_EQ(memory.usage(), 60);
    sample(machine, memory, 0, 0, 0, 4, 0);
    EXPECT_EQ(memory.usage(), 0);
}

// A service that samples without the right to ask wrote for as long as it ran.
TEST(Memory, TellsOfSamplesThatFailOnceAndOfTheirEnd) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue = platform::VirtualMemoryCounters{};
    Memory memory;
    const auto sampleFor = [&](int seconds) {
        testing::internal::CaptureStderr();
        for (int i = 0; i < seconds; i += 2) {
            memory.update();
            machine->advance(2);
        }
        return testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(sampleFor(10), "");
    machine->host().calls.fail("virtualMemory", {.error = EACCES});
    EXPECT_EQ(sampleFor(600), "Error: host_statistics64 -- Permission denied");
    machine->host().calls.succeed();
    EXPECT_EQ(sampleFor(50), "");
    EXPECT_EQ(sampleFor(50), "\nhost_statistics64 works again\n");
    EXPECT_EQ(sampleFor(600), "");
}

TEST(Memory, TellsSwapOnDemand) {
    ScriptedMachine machine;
    machine->host().swapUsageValue = platform::SwapUsage{8ull << 30, 6ull << 30, 2ull << 30};
    const Memory memory;
    EXPECT_EQ(memory.swap(), (Memory::Swap{8ull << 30, 2ull << 30}));
}

// Meant: the placeholder stays, and behind it stands where the error text is, not the text.
TEST(Memory, SaysThatSwapCannotBeToldInItsOwnWay) {
    ScriptedMachine machine;
    machine->host().calls.fail("swapUsage");
    const Memory memory;
    testing::internal::CaptureStdout();
    EXPECT_EQ(memory.swap(), Memory::Swap{});
    std::fflush(stdout);
    const std::string line = testing::internal::GetCapturedStdout();
    const std::string start = "Cannot get swap statistics -- %@Optional(0x";
    ASSERT_EQ(line.compare(0, start.size(), start), 0) << line;
    EXPECT_EQ(line.substr(start.size() + 16), ")\n") << line;
    EXPECT_EQ(line.find_first_not_of("0123456789abcdef", start.size()), start.size() + 16) << line;
}

TEST(Memory, TellsOfPressureWhileItIsWantedAlsoWhenItsOwnFiguresFail) {
    ScriptedMachine machine;
    machine->host().pressureValues[1] = Pressure{{1, 2, 3, 4}, PressureShare{5, 6, 7, 8}};
    Memory memory;
    memory.update();
    EXPECT_EQ(memory.pressure(), std::nullopt);
    EXPECT_EQ(machine->host().calls.count("pressure"), 0U);
    memory.setMeasures({Memory::Measure::pressure});
    EXPECT_EQ(memory.measures(), MeasureSet<Memory::Measure>{Memory::Measure::pressure});
    machine->host().calls.fail("virtualMemory");
    testing::internal::CaptureStderr();
    memory.update();
    static_cast<void>(testing::internal::GetCapturedStderr());
    EXPECT_EQ(memory.pressure(), machine->host().pressureValues[1]);
    machine->host().pressureValues[1].reset();
    testing::internal::CaptureStderr();
    memory.update();
    static_cast<void>(testing::internal::GetCapturedStderr());
    EXPECT_EQ(memory.pressure(), std::nullopt);
    EXPECT_EQ(memory.availability(Memory::Measure::pressure), Availability::unsupported);
}

TEST(Memory, FiresWhenItsPressureCrossesAThreshold) {
    ScriptedMachine machine;
    machine->host().pressureValues[1] = Pressure{};
    Memory memory;
    const auto owner = std::make_shared<int>();
    int fires = 0;
    memory.onPressure().listen(owner, [&] { ++fires; });
    EXPECT_EQ(memory.setPressureThreshold(PressureThreshold{PressureThreshold::Kind::full}), Availability::available);
    machine->host().press(PressureResource::memory);
    machine->advance(0);
    EXPECT_EQ(fires, 1);
}

TEST(Memory, TellsItsFurtherFactsWhileTheyAreWanted) {
    ScriptedMachine machine;
    MemoryDetails details;
    details.available = 5;
    machine->host().memoryDetailsValue = details;
    machine->host().memoryCompressionValue = MemoryCompression{12, 4};
    machine->host().memoryNodesValue = std::vector<MemoryNode>{{0, 8, 4}, {1, 8, 2}};
    Memory memory;
    memory.update();
    for (const char* question : {"memoryDetails", "memoryCompression", "memoryNodes", "swapCounters"})
        EXPECT_EQ(machine->host().calls.count(question), 0U) << question;
    memory.setMeasures({Memory::Measure::details, Memory::Measure::compression, Memory::Measure::nodes});
    EXPECT_EQ(memory.details(), std::nullopt);
    memory.update();
    EXPECT_EQ(memory.details(), details);
    EXPECT_EQ(memory.compression(), (MemoryCompression{12, 4}));
    EXPECT_EQ(memory.nodes(), machine->host().memoryNodesValue);
    EXPECT_EQ(machine->host().calls.count("swapCounters"), 0U);
    machine->host().calls.fail("memoryDetails", {.error = EACCES});
    machine->host().memoryCompressionValue.reset();
    machine->host().memoryNodesValue.reset();
    memory.update();
    EXPECT_EQ(memory.details(), std::nullopt);
    EXPECT_EQ(memory.availability(Memory::Measure::details), Availability::denied);
    EXPECT_EQ(memory.compression(), std::nullopt);
    EXPECT_EQ(memory.availability(Memory::Measure::compression), Availability::unsupported);
    EXPECT_TRUE(memory.nodes().empty());
}

TEST(Memory, TellsWhatWasSwappedASecondByTheClock) {
    ScriptedMachine machine;
    machine->host().swapCountersValue = platform::SwapCounters{1000, 5000};
    Memory memory;
    memory.setMeasures({Memory::Measure::swapRates});
    memory.update();
    EXPECT_EQ(memory.availability(Memory::Measure::swapRates), Availability::available);
    EXPECT_EQ(memory.swapRates(), std::nullopt);
    EXPECT_EQ(memory.swapped(), (platform::SwapCounters{1000, 5000})) << "a counter needs no sample before";
    machine->advance(4);
    machine->host().swapCountersValue = platform::SwapCounters{1400, 5000};
    memory.update();
    EXPECT_EQ(memory.swapRates(), (Memory::SwapRates{100, 0}));
    machine->advance(1);
    machine->host().swapCountersValue = platform::SwapCounters{1400, 4000};
    memory.update();
    EXPECT_EQ(memory.swapRates(), std::nullopt) << "a counter went back";
    memory.setMeasures({});
    memory.update();
    memory.setMeasures({Memory::Measure::swapRates});
    machine->advance(1);
    memory.update();
    EXPECT_EQ(memory.swapRates(), std::nullopt) << "nothing to measure from";
    machine->host().calls.fail("swapCounters", {.call = 1});
    machine->advance(1);
    memory.update();
    EXPECT_EQ(memory.availability(Memory::Measure::swapRates), Availability::failed);
    EXPECT_EQ(memory.swapped(), std::nullopt);
    machine->advance(1);
    memory.update();
    EXPECT_EQ(memory.swapRates(), std::nullopt);
    machine->advance(1);
    memory.update();
    EXPECT_EQ(memory.swapRates(), Memory::SwapRates{});
}

TEST(Memory, TakesNoMemoryForASampleWithEverythingOnOnceItIsWarm) {
    if (!countsAllocations)
        return; // a sanitizer's own operators are in force
    ScriptedMachine machine;
    machine->host().memoryDetailsValue = MemoryDetails{};
    machine->host().memoryCompressionValue = MemoryCompression{};
    machine->host().memoryNodesValue = std::vector<MemoryNode>(4);
    machine->host().swapCountersValue = platform::SwapCounters{};
    machine->host().pressureValues[1] = Pressure{};
    Memory memory;
    memory.setMeasures({Memory::Measure::pressure, Memory::Measure::details, Memory::Measure::swapRates,
                        Memory::Measure::compression, Memory::Measure::nodes});
    std::vector<MemoryNode> nodes;
    memory.update();
    memory.nodes(nodes);
    EXPECT_EQ(nodes.size(), 4U);
    const std::size_t before = allocations();
    for (int turn = 0; turn < 5; ++turn) {
        memory.update();
        memory.nodes(nodes);
    }
    EXPECT_EQ(allocations(), before);
}

TEST(Memory, IsReadFromOneThreadWhileAnotherSamples) {
    ScriptedMachine machine;
    Memory memory;
    sample(machine, memory, 2, 3, 1, 4, 0);
    std::thread sampler([&] {
        for (int i = 0; i < 1000; ++i)
            memory.update();
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(memory.usage(), 60);
        EXPECT_EQ(memory.pagesFault(), 0u);
    }
    sampler.join();
}

} // namespace
} // namespace sentrel
