// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/HostProbes.h>

#include <SentrelKit/base/system/System.h>
#include <SentrelKit/platform/scripted/ScriptedMachine.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::probes {
namespace {

using platform::HostLoadTicks;

// The ticks of the previous call live as long as the process: a test begins by making them known.
CPUData sample(ScriptedMachine& machine, const HostLoadTicks& ticks) {
    machine->host().loadTicksValue = ticks;
    CPUData data{};
    EXPECT_EQ(_getCPUData(&data), 1);
    return data;
}

TEST(BootTime, IsThePlatformsAndZeroWhereItCannotBeTold) {
    ScriptedMachine machine;
    machine->host().bootTimeValue = 1795246600;
    EXPECT_EQ(_getboottime(), 1795246600);
    machine->host().calls.fail("bootTime");
    testing::internal::CaptureStderr();
    EXPECT_EQ(_getboottime(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(HostInfo, IsHandedToTheBlockOnceBeforeTheCallReturns) {
    ScriptedMachine machine;
    machine->host().hostInfoValue.logical_cpu = 6;
    machine->host().hostInfoValue.max_mem = 1ull << 40;
    int calls = 0;
    _getHostInfo([&](const host_basic_info* info) {
        ++calls;
        EXPECT_EQ(info->logical_cpu, 6);
        EXPECT_EQ(info->max_mem, 1ull << 40);
    });
    EXPECT_EQ(calls, 1);
}

TEST(HostInfo, DoesNotCallTheBlockOnFailureAndReportsNothing) {
    ScriptedMachine machine;
    machine->host().calls.fail("hostInfo");
    testing::internal::CaptureStderr();
    _getHostInfo([](const host_basic_info*) { ADD_FAILURE() << "called"; });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(CPUData, FoldsNiceIntoUserSoThatTheThreeMakeUpTheWhole) {
    ScriptedMachine machine;
    sample(machine, {1000, 1000, 1000, 1000});
    const CPUData data = sample(machine, {1010, 1020, 1060, 1010});
    EXPECT_DOUBLE_EQ(data.user, 20);
    EXPECT_DOUBLE_EQ(data.system, 20);
    EXPECT_DOUBLE_EQ(data.idle, 60);
    EXPECT_DOUBLE_EQ(data.user + data.system + data.idle, 100);
}

TEST(CPUData, IsZeroWhenNoTickPassed) {
    ScriptedMachine machine;
    sample(machine, {5, 6, 7, 8});
    const CPUData data = sample(machine, {5, 6, 7, 8});
    EXPECT_EQ(data.user, 0);
    EXPECT_EQ(data.system, 0);
    EXPECT_EQ(data.idle, 0);
}

TEST(CPUData, GivesTheRightDifferenceWhenACounterWrapped) {
    ScriptedMachine machine;
    sample(machine, {0xffff'fff0u, 100, 0xffff'ffffu, 0});
    const CPUData data = sample(machine, {0x10u, 120, 0x2fu, 0}); // 32, 20 and 48 ticks
    EXPECT_DOUBLE_EQ(data.user, 32);
    EXPECT_DOUBLE_EQ(data.system, 20);
    EXPECT_DOUBLE_EQ(data.idle, 48);
}

TEST(CPUData, CountsTheWholeRangeOfAllFourCounters) {
    ScriptedMachine machine;
    sample(machine, {0, 0, 0, 0});
    const std::uint32_t most = 0xffff'ffffu;
    const CPUData data = sample(machine, {most, most, most, most});
    EXPECT_DOUBLE_EQ(data.user, 50);
    EXPECT_DOUBLE_EQ(data.idle, 25);
}

// What the counters hold at load is zero, so that the first call of a process tells the load since boot.
TEST(CPUData, MeasuresFromBootAtTheFirstCall) {
    ScriptedMachine machine;
    sample(machine, {0, 0, 0, 0});
    const CPUData data = sample(machine, {250, 50, 600, 100});
    EXPECT_DOUBLE_EQ(data.user, 35);
    EXPECT_DOUBLE_EQ(data.system, 5);
    EXPECT_DOUBLE_EQ(data.idle, 60);
}

TEST(CPUDataDeathTest, MeasuresFromBootAtTheFirstCallOfAProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own, in which nothing was sampled yet
    EXPECT_EXIT(
        {
            ScriptedMachine machine;
            const CPUData data = sample(machine, {250, 50, 600, 100});
            std::exit(data.user == 35 && data.system == 5 && data.idle == 60 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(CPUData, IsZeroWhenTheTicksCannotBeReadAndMeasuresOnFromTheLastOnes) {
    ScriptedMachine machine;
    sample(machine, {100, 100, 100, 100});
    machine->host().calls.fail("loadTicks", {.call = 1});
    machine->host().processorSetLoadValue = platform::ProcessorSetLoad{12, 34};
    CPUData data{1, 2, 3, 4, 5};
    EXPECT_EQ(_getCPUData(&data), 1);
    EXPECT_EQ(data.user, 0);
    EXPECT_EQ(data.system, 0);
    EXPECT_EQ(data.idle, 0);
    EXPECT_EQ(data.tasks, 12u);
    EXPECT_EQ(data.threads, 34u);
    data = sample(machine, {150, 100, 150, 100});
    EXPECT_DOUBLE_EQ(data.user, 50);
    EXPECT_DOUBLE_EQ(data.idle, 50);
}

TEST(CPUData, HasNoTasksWithoutADefaultSetOrItsStatistics) {
    ScriptedMachine machine;
    machine->host().processorSetLoadValue = platform::ProcessorSetLoad{12, 34};
    EXPECT_EQ(sample(machine, {}).tasks, 12u);
    machine->host().calls.fail("defaultProcessorSet");
    CPUData data = sample(machine, {});
    EXPECT_EQ(data.tasks, 0u);
    EXPECT_EQ(data.threads, 0u);
    machine->host().processorSetValue = platform::ProcessorSet{7};
    machine->host().calls.fail("processorSetLoad");
    data = sample(machine, {});
    EXPECT_EQ(data.tasks, 0u);
    EXPECT_EQ(data.threads, 0u);
}

TEST(CPUBrand, IsADashUntilItIsAskedFor) {
    ScriptedMachine machine;
    EXPECT_STREQ(System->cpuBrand, "-");
}

TEST(CPUBrand, LosesMarksAndSpareBlanks) {
    ScriptedMachine machine;
    struct Case {
        const char* raw;
        const char* clean;
    };
    const Case cases[] = {
        {"Intel(R) Core(TM) i7 CPU @ 2.50GHz", "Intel Core i7 2.50GHz"},
        {"Intel(R) Core(TM) i7-8850H CPU @ 2.60GHz", "Intel Core i7-8850H 2.60GHz"},
        {"AMD Ryzen 7 5800X 8-Core Processor             ", "AMD Ryzen 7 5800X 8-Core Processor"},
        {"  Some \t Maker   X  ", "Some Maker X"},
        {"Virtual CPU", "Virtual CPU"}, // no blank behind it
        {"CPUs 4", "CPUs 4"},
        {"X @2GHz", "X @2GHz"},
        {"X @", "X @"},
        {"(R)(TM)@ CPU ", ""},
        {"CPU @ CPU ", ""},
        {"(r) (tm)", "(r) (tm)"},
        {"", ""},
        {"          ", ""},
    };
    for (const Case& each : cases) {
        machine->host().brandValue = each.raw;
        EXPECT_STREQ(_getCPUBrand(), each.clean) << '"' << each.raw << '"';
        EXPECT_EQ(_getCPUBrand(), System->cpuBrand);
    }
}

TEST(CPUBrand, TakesTheFirst64BytesOfALongerOne) {
    ScriptedMachine machine;
    machine->host().brandValue = std::string(64, 'a') + std::string(200, 'b');
    EXPECT_EQ(std::string(_getCPUBrand()), std::string(64, 'a'));
    machine->host().brandValue = std::string(300, ' ');
    EXPECT_STREQ(_getCPUBrand(), "");
}

TEST(CPUBrand, EndsAtAZeroByte) {
    ScriptedMachine machine;
    machine->host().brandValue = std::string("Brand\0rest", 10);
    EXPECT_STREQ(_getCPUBrand(), "Brand");
}

TEST(CPUBrand, IsEmptyOnFailure) {
    ScriptedMachine machine;
    machine->host().brandValue = "Before";
    EXPECT_STREQ(_getCPUBrand(), "Before");
    machine->host().calls.fail("brand");
    EXPECT_STREQ(_getCPUBrand(), "");
}

TEST(ActiveGPU, IsThePlatformsDeviceIdOrNothing) {
    ScriptedMachine machine;
    EXPECT_FALSE(_getActiveGPUDeviceID());
    machine->graphics().activeDeviceIDValue = PropertyList::Bytes{1, 2, 0, 0};
    EXPECT_EQ(_getActiveGPUDeviceID(), (PropertyList::Bytes{1, 2, 0, 0}));
}

TEST(MEMData, TurnsPagesOf4096BytesIntoBytesAndCopiesCounts) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue = platform::VirtualMemoryCounters{1, 2, 3, 4, 5, 6, 7, 8, 100, 30, 50};
    MEMData data{};
    EXPECT_EQ(_getMEMData(&data), 1);
    EXPECT_EQ(data.free, 4096u);
    EXPECT_EQ(data.active, 2 * 4096u);
    EXPECT_EQ(data.inactive, 3 * 4096u);
    EXPECT_EQ(data.wired, 4 * 4096u);
    EXPECT_EQ(data.compressed, 5 * 4096u);
    EXPECT_EQ(data.pageins, 6u);
    EXPECT_EQ(data.pageouts, 7u);
    EXPECT_EQ(data.faults, 8u);
    EXPECT_EQ(data.app, 70 * 4096u);
    EXPECT_EQ(data.cached, 80 * 4096u);
}

TEST(MEMData, DoesNotOverflowWithMoreThan4GiB) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue.free_count = 0xffff'ffffu;
    machine->host().virtualMemoryValue.faults = 1ull << 60;
    MEMData data{};
    EXPECT_EQ(_getMEMData(&data), 1);
    EXPECT_EQ(data.free, 0xffff'ffffull * 4096);
    EXPECT_EQ(data.faults, 1ull << 60);
}

// Meant: the difference and the sum are 32 bits wide.
TEST(MEMData, WrapsWhenMoreIsPurgeableThanProgramsHave) {
    ScriptedMachine machine;
    machine->host().virtualMemoryValue.internal_page_count = 10;
    machine->host().virtualMemoryValue.purgeable_count = 11;
    machine->host().virtualMemoryValue.external_page_count = 0xffff'fffau;
    MEMData data{};
    EXPECT_EQ(_getMEMData(&data), 1);
    EXPECT_EQ(data.app, 0xffff'ffffull * 4096);
    EXPECT_EQ(data.cached, 5 * 4096u);
}

TEST(MEMData, ReportsAFailureInOneLineAndLeavesTheRecordUntouched) {
    ScriptedMachine machine;
    machine->host().calls.fail("virtualMemory", {.error = EACCES});
    MEMData data{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    testing::internal::CaptureStderr();
    EXPECT_EQ(_getMEMData(&data), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("Error: host_statistics64 -- ") + System_getError(EACCES)); // no line end: meant so
    EXPECT_EQ(data.free, 1u);
    EXPECT_EQ(data.active, 2u);
    EXPECT_EQ(data.cached, 10u);
}

} // namespace
} // namespace sentrel::probes
