// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/CPU.h>

#include "tests/support/Allocations.h"

#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/platform/support/SampleScope.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace sentrel {
namespace {

// Lets the probes know ticks to measure from, whatever an earlier test left.
void sample(ScriptedMachine& machine, CPU& cpu, const platform::HostLoadTicks& ticks) {
    machine->host().loadTicksValue = ticks;
    cpu.update();
}

TEST(CPU, IsOfItsKindAndZeroBeforeTheFirstSample) {
    ScriptedMachine machine;
    const CPU cpu;
    EXPECT_EQ(cpu.type(), SystemResourceType::cpu);
    EXPECT_EQ(cpu.user(), 0);
    EXPECT_EQ(cpu.sys(), 0);
    EXPECT_EQ(cpu.idle(), 0);
    EXPECT_EQ(cpu.usage(), 0);
    EXPECT_EQ(cpu.processes(), 0u);
    EXPECT_EQ(cpu.threads(), 0u);
}

TEST(CPU, KnowsItsCoresAndTheMomentOfBootFromTheStart) {
    ScriptedMachine machine;
    machine->host().bootTimeValue = 1795246600;
    machine->host().hostInfoValue.physical_cpu_max = 8;
    machine->host().hostInfoValue.logical_cpu_max = 16;
    machine->host().hostInfoValue.physical_cpu = 6;
    machine->host().hostInfoValue.logical_cpu = 12;
    const CPU cpu;
    EXPECT_EQ(cpu.physicalCores(), 8);
    EXPECT_EQ(cpu.logicalCores(), 16);
    EXPECT_EQ(cpu.activePhysicalCores(), 6);
    EXPECT_EQ(cpu.activeLogicalCores(), 12);
    EXPECT_EQ(cpu.bootTime(), 1795246600);
}

TEST(CPU, KeepsTheSignOfACountOfCores) {
    ScriptedMachine machine;
    machine->host().hostInfoValue.physical_cpu = -1;
    EXPECT_EQ(CPU().activePhysicalCores(), -1);
}

TEST(CPU, HasNoCoresWhereTheHostCannotBeDescribed) {
    ScriptedMachine machine;
    machine->host().calls.fail("hostInfo");
    machine->host().calls.fail("bootTime");
    const CPU cpu;
    EXPECT_EQ(cpu.physicalCores(), 0);
    EXPECT_EQ(cpu.logicalCores(), 0);
    EXPECT_EQ(cpu.activePhysicalCores(), 0);
    EXPECT_EQ(cpu.activeLogicalCores(), 0);
    EXPECT_EQ(cpu.bootTime(), 0);
}

TEST(CPU, TakesASample) {
    ScriptedMachine machine;
    CPU cpu;
    sample(machine, cpu, {0, 0, 0, 0});
    machine->host().processorSetLoadValue = platform::ProcessorSetLoad{321, 1234};
    sample(machine, cpu, {100, 100, 1300, 100}); // of 1600: 12.5 % user and nice, 6.25 % system
    EXPECT_DOUBLE_EQ(cpu.user(), 12.5);
    EXPECT_DOUBLE_EQ(cpu.sys(), 6.25);
    EXPECT_DOUBLE_EQ(cpu.idle(), 81.25);
    EXPECT_DOUBLE_EQ(cpu.usage(), 18.75);
    EXPECT_EQ(cpu.processes(), 321u);
    EXPECT_EQ(cpu.threads(), 1234u);
}

TEST(CPU, GoesOnSamplingAfterTheTicksCouldNotBeRead) {
    ScriptedMachine machine;
    CPU cpu;
    sample(machine, cpu, {0, 0, 0, 0});
    sample(machine, cpu, {50, 0, 50, 0});
    machine->host().calls.fail("loadTicks", {.call = 1});
    cpu.update();
    EXPECT_EQ(cpu.usage(), 0);
    EXPECT_EQ(cpu.idle(), 0);
    sample(machine, cpu, {60, 0, 80, 0});
    EXPECT_DOUBLE_EQ(cpu.usage(), 25);
}

TEST(CPU, AsksForItsBrandOnce) {
    ScriptedMachine machine;
    machine->host().brandValue = "Intel(R) Core(TM) i7 CPU @ 2.50GHz";
    const CPU cpu;
    EXPECT_EQ(machine->host().calls.count("brand"), 0U);
    EXPECT_EQ(cpu.brand(), "Intel Core i7 2.50GHz");
    machine->host().brandValue = "Other";
    EXPECT_EQ(cpu.brand(), "Intel Core i7 2.50GHz");
    EXPECT_EQ(machine->host().calls.count("brand"), 1U);
}

TEST(CPU, AsksOnceAlsoForABrandThatThereIsNot) {
    ScriptedMachine machine;
    machine->host().calls.fail("brand");
    const CPU cpu;
    EXPECT_EQ(cpu.brand(), "");
    EXPECT_EQ(cpu.brand(), "");
    EXPECT_EQ(machine->host().calls.count("brand"), 1U);
}

TEST(CPU, SplitsTheTimeSinceBootIntoAwakeAndAsleep) {
    ScriptedMachine machine;
    const std::int64_t now = CPU().uptime();
    machine->host().bootTimeValue = now - 10'000;
    machine->host().awakeUptimeValue = 7'499.999;
    const CPU cpu;
    EXPECT_EQ(cpu.uptime(), 10'000);
    EXPECT_EQ(cpu.uptimeDuration(), std::chrono::seconds(10'000));
    EXPECT_EQ(cpu.awakeDuration(), std::chrono::seconds(cpu.awakeTime()));
    EXPECT_EQ(cpu.sleepDuration(), std::chrono::seconds(cpu.sleepTime()));
    EXPECT_EQ(std::chrono::system_clock::to_time_t(cpu.bootTimePoint()), cpu.bootTime());
    EXPECT_EQ(cpu.awakeTime(), 7'499);
    EXPECT_EQ(cpu.sleepTime(), 2'501);
    machine->advance(60);
    EXPECT_EQ(cpu.uptime(), 10'060);
}

TEST(CPU, CountsItsUptimeFrom1970WhereTheMomentOfBootIsNotKnown) {
    ScriptedMachine machine;
    machine->host().calls.fail("bootTime");
    WallClockReading reading;
    ASSERT_TRUE(machine->clock().read(reading));
    EXPECT_EQ(CPU().uptime(), reading.seconds);
}

TEST(CPU, IsSoundWhenTheClockWasSetBack) {
    ScriptedMachine machine;
    machine->host().bootTimeValue = CPU().uptime() + 500;
    machine->host().calls.fail("awakeUptime");
    const CPU cpu;
    EXPECT_EQ(cpu.awakeTime(), 0);
    EXPECT_EQ(cpu.uptime(), -500);
    EXPECT_EQ(cpu.sleepTime(), -500);
}

TEST(CPU, PassesTheThermalStateOn) {
    ScriptedMachine machine;
    const CPU cpu;
    for (const ThermalState state :
         {ThermalState::nominal, ThermalState::fair, ThermalState::serious, ThermalState::critical}) {
        machine->host().thermalStateValue = state;
        EXPECT_EQ(cpu.thermalState(), state);
    }
    machine->host().calls.fail("thermalState");
    EXPECT_EQ(cpu.thermalState(), ThermalState::nominal);
}

TEST(CPU, GivesTheLoadAveragesInTheirOrderAndZerosOnFailure) {
    ScriptedMachine machine;
    const CPU cpu;
    machine->host().loadAveragesValue = platform::LoadAverages{1.5, 0.75, 0.25};
    EXPECT_EQ(cpu.loadavg(), (std::array<double, 3>{1.5, 0.75, 0.25}));
    machine->host().calls.fail("loadAverages");
    EXPECT_EQ(cpu.loadavg(), (std::array<double, 3>{}));
}

TEST(CPU, AsksForNoFurtherFactUntilItIsWanted) {
    ScriptedMachine machine;
    machine->host().pressureValues[0] = Pressure{};
    CPU cpu;
    cpu.update();
    EXPECT_EQ(cpu.measures(), MeasureSet<CPU::Measure>{});
    EXPECT_EQ(machine->host().calls.count("pressure"), 0U);
    EXPECT_EQ(cpu.availability(CPU::Measure::pressure), std::nullopt);
    EXPECT_EQ(cpu.pressure(), std::nullopt);
}

TEST(CPU, TellsOfPressureWhileItIsWanted) {
    ScriptedMachine machine;
    machine->host().pressureValues[0] = Pressure{{1, 2, 3, 4}, PressureShare{5, 6, 7, 8}};
    CPU cpu;
    cpu.setMeasures({CPU::Measure::pressure});
    EXPECT_EQ(cpu.pressure(), std::nullopt);
    cpu.update();
    EXPECT_EQ(cpu.pressure(), machine->host().pressureValues[0]);
    EXPECT_EQ(cpu.availability(CPU::Measure::pressure), Availability::available);
    machine->host().calls.fail("pressure", {.call = 1, .error = EACCES});
    cpu.update();
    EXPECT_EQ(cpu.pressure(), std::nullopt);
    EXPECT_EQ(cpu.availability(CPU::Measure::pressure), Availability::denied);
    cpu.update();
    EXPECT_TRUE(cpu.pressure());
    cpu.setMeasures({});
    EXPECT_EQ(cpu.pressure(), std::nullopt);
    cpu.update();
    EXPECT_EQ(machine->host().calls.count("pressure"), 3U);
}

TEST(CPU, FiresWhenItsPressureCrossesAThreshold) {
    ScriptedMachine machine;
    CPU cpu;
    const auto owner = std::make_shared<int>();
    int fires = 0;
    cpu.onPressure().listen(owner, [&] { ++fires; });
    EXPECT_EQ(cpu.setPressureThreshold(PressureThreshold{}), Availability::unsupported);
    machine->host().pressureValues[0] = Pressure{};
    EXPECT_EQ(cpu.setPressureThreshold(PressureThreshold{}), Availability::available);
    machine->host().press(PressureResource::cpu);
    EXPECT_EQ(fires, 0) << "on the main queue";
    machine->advance(0);
    EXPECT_EQ(fires, 1);
}

platform::ProcessorLoad loadOf(std::uint64_t user, std::uint64_t idle, std::uint64_t waiting, std::uint64_t switches) {
    const platform::ProcessorTicks ticks{user, 0, 0, idle, waiting, 0};
    return {ticks, {{0, ticks}, {3, ticks}}, switches, 2 * switches, switches / 10};
}

TEST(CPU, TellsWhatEachCoreDidSinceTheSampleBefore) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(100, 100, 100, 0);
    CPU cpu;
    cpu.setMeasures({CPU::Measure::cores});
    EXPECT_EQ(cpu.availability(CPU::Measure::cores), std::nullopt);
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::cores), Availability::available);
    EXPECT_TRUE(cpu.cores().empty()) << "nothing to measure from";
    EXPECT_EQ(cpu.shares(), std::nullopt);
    machine->host().processorLoadValue = loadOf(150, 130, 120, 0);
    cpu.update();
    const ProcessorShares expected{50, 0, 30, 20, 0};
    EXPECT_EQ(cpu.cores(), (std::vector<CoreShares>{{0, expected}, {3, expected}}));
    EXPECT_EQ(cpu.shares(), expected);
    EXPECT_EQ(cpu.contextSwitches(), std::nullopt) << "another group";
    cpu.setMeasures({});
    EXPECT_TRUE(cpu.cores().empty());
    EXPECT_EQ(cpu.shares(), std::nullopt);
}

TEST(CPU, BeginsAnewWithItsCoresAfterAGapOrAFailure) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(100, 100, 100, 0);
    CPU cpu;
    cpu.setMeasures({CPU::Measure::cores});
    cpu.update();
    cpu.setMeasures({});
    machine->host().processorLoadValue = loadOf(200, 100, 100, 0);
    cpu.update();
    cpu.setMeasures({CPU::Measure::cores});
    cpu.update();
    EXPECT_EQ(cpu.shares(), std::nullopt) << "of the time when nobody wanted it";
    machine->host().processorLoadValue = loadOf(210, 110, 100, 0);
    cpu.update();
    EXPECT_EQ(cpu.shares(), (ProcessorShares{50, 0, 50, 0, 0}));
    machine->host().calls.fail("processorLoad", {.call = 1, .error = EACCES});
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::cores), Availability::denied);
    EXPECT_TRUE(cpu.cores().empty());
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::cores), Availability::available);
    EXPECT_EQ(cpu.shares(), std::nullopt);
}

TEST(CPU, CountsWhatHappensASecondByTheClock) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(100, 100, 100, 1000);
    CPU cpu;
    cpu.setMeasures({CPU::Measure::activity});
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::activity), Availability::available);
    EXPECT_EQ(cpu.contextSwitches(), std::nullopt);
    machine->advance(2);
    machine->host().processorLoadValue = loadOf(100, 100, 100, 2000);
    cpu.update();
    EXPECT_EQ(cpu.contextSwitches(), 500);
    EXPECT_EQ(cpu.interrupts(), 1000);
    EXPECT_EQ(cpu.forks(), 50);
    EXPECT_TRUE(cpu.cores().empty()) << "another group";
    machine->advance(1);
    machine->host().processorLoadValue = loadOf(100, 100, 100, 1500);
    cpu.update();
    EXPECT_EQ(cpu.contextSwitches(), std::nullopt) << "the counter went back";
    machine->host().processorLoadValue->contextSwitches.reset();
    machine->host().processorLoadValue->interrupts.reset();
    machine->host().processorLoadValue->forks.reset();
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::activity), Availability::unsupported);
}

TEST(CPU, HandsTheCountersThemselvesOn) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(100, 100, 100, 1000);
    CPU cpu;
    EXPECT_EQ(cpu.counters(), std::nullopt);
    cpu.setMeasures({CPU::Measure::counters});
    EXPECT_EQ(cpu.counters(), std::nullopt) << "not sampled yet";
    cpu.update();
    EXPECT_EQ(cpu.counters(), loadOf(100, 100, 100, 1000));
    EXPECT_TRUE(cpu.cores().empty()) << "another group";
    machine->host().processorLoadValue = loadOf(150, 130, 120, 2000);
    cpu.update();
    EXPECT_EQ(cpu.counters(), loadOf(150, 130, 120, 2000));
    machine->host().calls.fail("processorLoad", {.call = 1, .error = EACCES});
    cpu.update();
    EXPECT_EQ(cpu.counters(), std::nullopt);
    EXPECT_EQ(cpu.availability(CPU::Measure::counters), Availability::denied);
}

TEST(CPU, AsksForTheFiguresOfAllProcessorsAndOfEachAsOneSample) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = platform::ProcessorLoad{};
    CPU cpu;
    std::vector<std::uint64_t> samples;
    machine->host().calls.onCall([&samples](const std::string& call) {
        if (call == "loadTicks" || call == "processorLoad")
            samples.push_back(platform::SampleScope::current());
    });
    for (const CPU::Measure measure : {CPU::Measure::cores, CPU::Measure::activity, CPU::Measure::counters}) {
        cpu.setMeasures({measure});
        samples.clear();
        cpu.update();
        ASSERT_EQ(samples.size(), 2U);
        EXPECT_NE(samples[0], 0U);
        EXPECT_EQ(samples[0], samples[1]);
    }
}

TEST(CPU, ReadsTheProcessorsOnceForBothGroups) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(1, 1, 1, 1);
    CPU cpu;
    cpu.setMeasures({CPU::Measure::cores, CPU::Measure::activity});
    cpu.update();
    EXPECT_EQ(machine->host().calls.count("processorLoad"), 1U);
}

TEST(CPU, TellsFrequenciesAndKindsWhileTheyAreWanted) {
    ScriptedMachine machine;
    const CoreFrequency core{0, 1'800'000'000, 400'000'000, 4'700'000'000, "powersave", CoreKind::performance};
    machine->host().processorFrequenciesValue = platform::ProcessorFrequencies{{core}, CoreKinds{1, 0}};
    CPU cpu;
    cpu.update();
    EXPECT_EQ(machine->host().calls.count("processorFrequencies"), 0U);
    EXPECT_TRUE(cpu.frequencies().empty());
    EXPECT_EQ(cpu.coreKinds(), std::nullopt);
    cpu.setMeasures({CPU::Measure::frequencies});
    cpu.update();
    EXPECT_EQ(cpu.frequencies(), std::vector<CoreFrequency>{core});
    EXPECT_EQ(cpu.coreKinds(), (CoreKinds{1, 0}));
    machine->host().processorFrequenciesValue.reset();
    cpu.update();
    EXPECT_EQ(cpu.availability(CPU::Measure::frequencies), Availability::unsupported);
    std::vector<CoreFrequency> list(3);
    cpu.frequencies(list);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(cpu.coreKinds(), std::nullopt);
}

TEST(CPU, TakesNoMemoryForASampleWithEverythingOnOnceItIsWarm) {
    if (!countsAllocations)
        return; // a sanitizer's own operators are in force
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(1, 1, 1, 1);
    const CoreFrequency core{0, 1, 2, 3, "powersave", CoreKind::performance};
    machine->host().processorFrequenciesValue = platform::ProcessorFrequencies{{core, core}, CoreKinds{1, 0}};
    machine->host().pressureValues[0] = Pressure{};
    CPU cpu;
    cpu.setMeasures({CPU::Measure::pressure, CPU::Measure::cores, CPU::Measure::frequencies, CPU::Measure::activity,
                     CPU::Measure::counters});
    std::vector<CoreShares> cores;
    std::vector<CoreFrequency> frequencies;
    const auto sample = [&](std::uint64_t turn) {
        machine->host().processorLoadValue->all.user = turn;
        for (platform::NumberedTicks& each : machine->host().processorLoadValue->each)
            each.ticks.user = turn;
        cpu.update();
        cpu.cores(cores);
        cpu.frequencies(frequencies);
    };
    for (std::uint64_t turn = 2; turn < 5; ++turn)
        sample(turn);
    ASSERT_EQ(cores.size(), 2U);
    const std::size_t before = allocations();
    for (std::uint64_t turn = 5; turn < 10; ++turn)
        sample(turn);
    EXPECT_EQ(allocations(), before);
}

TEST(CPU, IsReadFromOneThreadWhileAnotherSamplesEverything) {
    ScriptedMachine machine;
    machine->host().processorLoadValue = loadOf(1, 1, 1, 1);
    machine->host().processorFrequenciesValue = platform::ProcessorFrequencies{{CoreFrequency{}}, CoreKinds{}};
    machine->host().pressureValues[0] = Pressure{};
    CPU cpu;
    std::thread sampler([&] {
        for (int i = 0; i < 500; ++i)
            cpu.update();
    });
    for (int i = 0; i < 500; ++i) {
        if (i % 2 == 0)
            cpu.setMeasures(
                {CPU::Measure::pressure, CPU::Measure::cores, CPU::Measure::frequencies, CPU::Measure::activity});
        else
            cpu.setMeasures({CPU::Measure::cores});
        EXPECT_LE(cpu.frequencies().size(), 1U);
        EXPECT_TRUE(cpu.cores().empty());
        EXPECT_EQ(cpu.pressure().value_or(Pressure()), Pressure());
        EXPECT_EQ(cpu.coreKinds().value_or(CoreKinds()), CoreKinds());
        static_cast<void>(cpu.contextSwitches());
        static_cast<void>(cpu.availability(CPU::Measure::activity));
    }
    sampler.join();
}

TEST(CPU, IsReadFromOneThreadWhileAnotherSamples) {
    ScriptedMachine machine;
    machine->host().brandValue = "Brand";
    CPU cpu;
    std::thread sampler([&] {
        for (int i = 0; i < 1000; ++i)
            cpu.update();
    });
    for (int i = 0; i < 1000; ++i) {
        EXPECT_LE(cpu.usage() + cpu.idle(), 200);
        EXPECT_EQ(cpu.processes(), cpu.threads());
        EXPECT_EQ(cpu.brand(), "Brand");
    }
    sampler.join();
}

} // namespace
} // namespace sentrel
