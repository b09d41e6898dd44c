// SPDX-License-Identifier: Apache-2.0
#include "tests/darwin/DarwinTest.h"

#include "tests/darwin/doubles/Queues.h"

#include <SentrelKit/platform/macos/host/MacHostService.h>

#include <dispatch/dispatch.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string>
#include <utmpx.h>
#include <vector>

using namespace darwin;
using namespace sentrel;
using sentrel::platform::MacHostService;

namespace {

class MacHost : public DarwinTest {};

TEST_F(MacHost, TellsWhenTheMachineWasBooted) {
    EXPECT_EQ(MacHostService().bootTime(), 1'600'000'000);
    failures::plan("sysctl", EPERM);
    EXPECT_EQ(MacHostService().bootTime(), std::nullopt);
}

TEST_F(MacHost, IsDescribedFieldByField) {
    machine().basic = {.max_cpus = 1,
                       .avail_cpus = 2,
                       .memory_size = 3,
                       .cpu_type = 4,
                       .cpu_subtype = 5,
                       .cpu_threadtype = 6,
                       .physical_cpu = 7,
                       .physical_cpu_max = 8,
                       .logical_cpu = 9,
                       .logical_cpu_max = 10,
                       .max_mem = std::uint64_t{1} << 40};
    const auto info = MacHostService().hostInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->max_cpus, 1);
    EXPECT_EQ(info->avail_cpus, 2);
    EXPECT_EQ(info->memory_size, 3u);
    EXPECT_EQ(info->cpu_type, 4);
    EXPECT_EQ(info->cpu_subtype, 5);
    EXPECT_EQ(info->cpu_threadtype, 6);
    EXPECT_EQ(info->physical_cpu, 7);
    EXPECT_EQ(info->physical_cpu_max, 8);
    EXPECT_EQ(info->logical_cpu, 9);
    EXPECT_EQ(info->logical_cpu_max, 10);
    EXPECT_EQ(info->max_mem, std::uint64_t{1} << 40);
}

TEST_F(MacHost, ThatDoesNotDescribeItselfHasNoDescription) {
    failures::plan("host_info", KERN_FAILURE);
    EXPECT_FALSE(MacHostService().hostInfo());
}

TEST_F(MacHost, CountsTicksInTheOrderOfTheRecord) {
    machine().load.cpu_ticks[CPU_STATE_USER] = 1;
    machine().load.cpu_ticks[CPU_STATE_SYSTEM] = 2;
    machine().load.cpu_ticks[CPU_STATE_IDLE] = 3;
    machine().load.cpu_ticks[CPU_STATE_NICE] = 4;
    MacHostService host;
    EXPECT_EQ(host.loadTicks(), (platform::HostLoadTicks{.user = 1, .system = 2, .idle = 3, .nice = 4}));
    failures::plan("host_statistics", KERN_INVALID_ARGUMENT);
    EXPECT_EQ(host.loadTicks(), std::nullopt);
}

TEST_F(MacHost, AsksForTheDefaultSetAgainAndAgainAndHoldsOneRightOfIt) {
    machine().setLoad = {.task_count = 321, .thread_count = 1234, .load_average = 5, .mach_factor = 6};
    MacHostService host;
    for (int i = 0; i < 3; ++i) {
        const auto set = host.defaultProcessorSet();
        ASSERT_TRUE(set);
        const auto load = host.processorSetLoad(*set);
        ASSERT_TRUE(load);
        EXPECT_EQ(load->tasks, 321u);
        EXPECT_EQ(load->threads, 1234u);
    }
}

TEST_F(MacHost, WithoutADefaultSetOrItsLoadHasNone) {
    MacHostService host;
    failures::plan("processor_set_default", KERN_FAILURE);
    EXPECT_FALSE(host.defaultProcessorSet());
    const auto set = host.defaultProcessorSet();
    ASSERT_TRUE(set);
    failures::plan("processor_set_statistics", KERN_FAILURE);
    EXPECT_FALSE(host.processorSetLoad(*set));
}

TEST_F(MacHost, WritesTheBrandIntoTheCallersBuffer) {
    std::array<char, 64> buffer{};
    const auto length = MacHostService().brand(buffer);
    ASSERT_TRUE(length);
    EXPECT_STREQ(buffer.data(), "Example(R) Processor(TM) CPU @ 2.50GHz");
    EXPECT_EQ(*length, machine().brand.size() + 1); // the terminator counts
}

TEST_F(MacHost, WithABrandLongerThanTheBufferHasNone) {
    machine().brand.assign(64, 'x');
    std::array<char, 64> buffer{};
    EXPECT_FALSE(MacHostService().brand(buffer));
}

TEST_F(MacHost, CountsPagesFieldByField) {
    vm_statistics64& memory = machine().memory;
    memory.free_count = 1;
    memory.active_count = 2;
    memory.inactive_count = 3;
    memory.wire_count = 4;
    memory.compressor_page_count = 5;
    memory.pageins = 6;
    memory.pageouts = 7;
    memory.faults = 8;
    memory.internal_page_count = 9;
    memory.purgeable_count = 10;
    memory.external_page_count = 11;
    MacHostService host;
    EXPECT_EQ(host.virtualMemory(), (platform::VirtualMemoryCounters{.free_count = 1,
                                                                     .active_count = 2,
                                                                     .inactive_count = 3,
                                                                     .wire_count = 4,
                                                                     .compressor_page_count = 5,
                                                                     .pageins = 6,
                                                                     .pageouts = 7,
                                                                     .faults = 8,
                                                                     .internal_page_count = 9,
                                                                     .purgeable_count = 10,
                                                                     .external_page_count = 11}));
    failures::plan("host_statistics64", KERN_FAILURE);
    EXPECT_EQ(host.virtualMemory(), std::nullopt);
}

TEST_F(MacHost, TellsOfItsSwapSpace) {
    machine().swap = {.xsu_total = 1000, .xsu_avail = 400, .xsu_used = 600, .xsu_pagesize = 4096, .xsu_encrypted = 1};
    MacHostService host;
    EXPECT_EQ(host.swapUsage(), (platform::SwapUsage{.total = 1000, .available = 400, .used = 600}));
    failures::plan("sysctl", EPERM);
    EXPECT_EQ(host.swapUsage(), std::nullopt);
}

TEST_F(MacHost, PassesOnWhatTheProcessInformationTells) {
    machine().physicalMemory = std::uint64_t{16} << 30;
    machine().uptime = 1.5;
    MacHostService host;
    EXPECT_EQ(host.physicalMemory(), std::uint64_t{16} << 30);
    EXPECT_EQ(host.awakeUptime(), 1.5);
    for (int state = 0; state < 4; ++state) {
        machine().thermalState = state;
        EXPECT_EQ(host.thermalState(), static_cast<ThermalState>(state));
    }
}

TEST_F(MacHost, HasNoWordForALevelOfHeatThatIsNew) {
    MacHostService host;
    for (const long state : {-1L, 4L, 256L}) {
        machine().thermalState = state;
        EXPECT_EQ(host.thermalState(), std::nullopt);
    }
}

TEST_F(MacHost, AveragesNoPressure) {
    Pressure pressure;
    EXPECT_EQ(MacHostService().pressure(PressureResource::memory, pressure), Availability::unsupported);
}

TEST_F(MacHost, TellsOfTheSystemsWarningsOnMemory) {
    MacHostService host;
    int warned = 0;
    int critical = 0;
    {
        const Observation some = host.observePressure(PressureResource::memory, {}, [&] {
            ++warned;
            EXPECT_EQ(queues::running(), "background");
        });
        Observation full = host.observePressure(PressureResource::memory, {PressureThreshold::Kind::full},
                                                [&critical] { ++critical; });
        ASSERT_TRUE(some && full);
        queues::pressMemory(DISPATCH_MEMORYPRESSURE_WARN);
        EXPECT_EQ(warned, 0);
        queues::advance(0);
        EXPECT_EQ(warned, 1);
        EXPECT_EQ(critical, 0);
        queues::pressMemory(DISPATCH_MEMORYPRESSURE_CRITICAL);
        queues::advance(0);
        EXPECT_EQ(warned, 2);
        EXPECT_EQ(critical, 1);
        queues::pressMemory(DISPATCH_MEMORYPRESSURE_CRITICAL); // on its way as the observation is released
        full.reset();
        queues::advance(0);
        EXPECT_EQ(warned, 3);
        EXPECT_EQ(critical, 1);
    }
    queues::pressMemory(DISPATCH_MEMORYPRESSURE_CRITICAL);
    queues::advance(0);
    EXPECT_EQ(warned, 3);
}

TEST_F(MacHost, HasNoPressureToObserveBeyondMemoryOrWhereDispatchRefuses) {
    MacHostService host;
    for (const PressureResource resource : {PressureResource::cpu, PressureResource::io}) {
        errno = 0;
        EXPECT_FALSE(host.observePressure(resource, {}, [] {}));
        EXPECT_EQ(errno, ENOTSUP);
    }
    failures::plan("dispatch_source_create", 0);
    errno = 0;
    EXPECT_FALSE(host.observePressure(PressureResource::memory, {}, [] {}));
    EXPECT_EQ(errno, ENOTSUP);
}

TEST_F(MacHost, CountsTheTicksOfEachProcessorAndGivesTheArrayBack) {
    machine().processors = {{.cpu_ticks = {1, 2, 3, 4}}, {.cpu_ticks = {10, 20, 30, 40}}};
    MacHostService host;
    platform::ProcessorLoad load;
    for (int turn = 0; turn < 2; ++turn)
        EXPECT_EQ(host.processorLoad(load), Availability::available);
    EXPECT_EQ(load.all, (platform::ProcessorTicks{11, 44, 22, 33, {}, {}}));
    EXPECT_EQ(load.each,
              (std::vector<platform::NumberedTicks>{{0, {1, 4, 2, 3, {}, {}}}, {1, {10, 40, 20, 30, {}, {}}}}));
    EXPECT_EQ(load.contextSwitches, std::nullopt);
    const platform::ProcessorLoad before = load;
    failures::plan("host_processor_info", KERN_FAILURE);
    EXPECT_EQ(host.processorLoad(load), Availability::failed);
    EXPECT_EQ(load, before);
}

TEST_F(MacHost, CountsFastAndThriftyProcessorsWhereTheyDiffer) {
    MacHostService host;
    platform::ProcessorFrequencies frequencies;
    EXPECT_EQ(host.processorFrequencies(frequencies), Availability::unsupported);
    machine().controlNumbers = {{"hw.perflevel0.logicalcpu", 8}, {"hw.perflevel1.logicalcpu", 2}};
    EXPECT_EQ(host.processorFrequencies(frequencies), Availability::available);
    EXPECT_EQ(frequencies, (platform::ProcessorFrequencies{{}, CoreKinds{8, 2}}));
}

TEST_F(MacHost, TellsMemoryInDetailInPagesOfTheKernel) {
    vm_statistics64& memory = machine().memory;
    memory.free_count = 1;
    memory.inactive_count = 2;
    memory.external_page_count = 3;
    memory.purgeable_count = 4;
    memory.swapins = 5;
    memory.swapouts = 6;
    memory.compressor_page_count = 7;
    memory.total_uncompressed_pages_in_compressor = 21;
    MacHostService host;
    MemoryDetails details;
    EXPECT_EQ(host.memoryDetails(details), Availability::available);
    EXPECT_EQ(details.available, 3U * 16384);
    EXPECT_EQ(details.cached, 7U * 16384);
    EXPECT_EQ(details.buffers, std::nullopt);
    platform::SwapCounters swap;
    EXPECT_EQ(host.swapCounters(swap), Availability::available);
    EXPECT_EQ(swap, (platform::SwapCounters{5U * 16384, 6U * 16384}));
    MemoryCompression compression;
    EXPECT_EQ(host.memoryCompression(compression), Availability::available);
    EXPECT_EQ(compression, (MemoryCompression{21U * 16384, 7U * 16384}));
    std::vector<MemoryNode> nodes;
    EXPECT_EQ(host.memoryNodes(nodes), Availability::unsupported);
    for (int question = 0; question < 3; ++question) {
        failures::plan("host_statistics64", KERN_FAILURE);
        EXPECT_EQ(question == 0   ? host.memoryDetails(details)
                  : question == 1 ? host.swapCounters(swap)
                                  : host.memoryCompression(compression),
                  Availability::failed);
    }
}

TEST_F(MacHost, TellsOfItself) {
    machine().controlTexts = {{"kern.osrelease", "19.6.0"},
                              {"kern.ostype", "Darwin"},
                              {"kern.osproductversion", "10.15.7"},
                              {"kern.hostname", "tower"},
                              {"hw.machine", "x86_64"}};
    MacHostService host;
    OperatingSystem system;
    EXPECT_EQ(host.operatingSystem(system), Availability::available);
    EXPECT_EQ(system,
              (OperatingSystem{"macOS", "macOS 10.15.7", "macos", "10.15.7", "Darwin", "19.6.0", "x86_64", "tower"}));
    machine().controlTexts.erase("kern.osproductversion");
    EXPECT_EQ(host.operatingSystem(system), Availability::available);
    EXPECT_EQ(system.prettyName, "macOS");
    failures::plan("sysctlbyname", EPERM);
    EXPECT_EQ(host.operatingSystem(system), Availability::denied);
}

TEST_F(MacHost, TellsThatItIsAGuestAndNotWhose) {
    MacHostService host;
    Virtualization virtualization;
    EXPECT_EQ(host.virtualization(virtualization), Availability::unsupported);
    machine().controlNumbers = {{"kern.hv_vmm_present", 1}};
    EXPECT_EQ(host.virtualization(virtualization), Availability::available);
    EXPECT_EQ(virtualization, (Virtualization{"vm-other", ""}));
    machine().controlNumbers = {{"kern.hv_vmm_present", 0}};
    EXPECT_EQ(host.virtualization(virtualization), Availability::available);
    EXPECT_EQ(virtualization, Virtualization{});
}

TEST_F(MacHost, HasNoControlGroups) {
    ControlGroup group;
    EXPECT_EQ(MacHostService().controlGroup(group), Availability::unsupported);
}

TEST_F(MacHost, TellsWhoIsLoggedInByTheListOfLogins) {
    MacHostService host;
    const std::string longest(256, 'n'); // ends with its room
    machine().logins = {
        {.type = BOOT_TIME, .since = 1'600'000'000},
        {.type = USER_PROCESS, .user = "anna", .terminal = "console", .since = 1'600'000'100, .process = 90},
        {.type = DEAD_PROCESS, .user = "gone", .terminal = "ttys001", .since = 1'600'000'150, .process = 95},
        {.type = USER_PROCESS,
         .user = longest,
         .terminal = std::string(32, 't'),
         .from = "192.0.2.7",
         .since = 1'600'000'200,
         .process = 101},
        {.type = USER_PROCESS, .terminal = "ttys002"}};
    std::vector<LoggedInUser> users;
    for (int walk = 0; walk < 2; ++walk) {
        ASSERT_EQ(host.users(users), Availability::available);
        EXPECT_THAT(users,
                    testing::ElementsAre(LoggedInUser{"anna", "console", "", 1'600'000'100, 90},
                                         LoggedInUser{longest, std::string(32, 't'), "192.0.2.7", 1'600'000'200, 101}));
    }
    machine().logins.resize(1);
    ASSERT_EQ(host.users(users), Availability::available);
    EXPECT_THAT(users, testing::IsEmpty()) << "nobody is";
}

TEST_F(MacHost, SaysWhyNobodyCanTellWhoIsLoggedIn) {
    MacHostService host;
    machine().logins = {{.type = USER_PROCESS, .user = "anna"}};
    std::vector<LoggedInUser> users(3);
    failures::plan("getutxent", EACCES);
    EXPECT_EQ(host.users(users), Availability::denied);
    failures::plan("getutxent", EIO);
    EXPECT_EQ(host.users(users), Availability::failed);
    machine().logins.clear();
    EXPECT_EQ(host.users(users), Availability::unsupported) << "no list is kept";
    EXPECT_EQ(users.size(), 3u) << "as it was";
}

TEST_F(MacHost, BeginsTheListOfLoginsAnewWhereverAHostLeftIt) {
    machine().logins = {{.type = USER_PROCESS, .user = "anna"}, {.type = USER_PROCESS, .user = "berta"}};
    ASSERT_TRUE(::getutxent());
    std::vector<LoggedInUser> users;
    ASSERT_EQ(MacHostService().users(users), Availability::available);
    EXPECT_EQ(users.size(), 2u);
}

} // namespace
