// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LinuxHostService.h>

#include "tests/support/Allocations.h"
#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

const std::string fixtures = fixturePath("host/");

std::string brandOf(LinuxHostService& host) {
    std::array<char, 64> buffer;
    const auto length = host.brand(buffer);
    return length ? std::string(buffer.data(), *length) : "(none)";
}

TEST(LinuxHost, ReadsACapturedMachine) {
    LinuxHostService host{SystemRoot(fixtures + "machine")};
    EXPECT_EQ(host.bootTime(), 1795246600);
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{38884, 9496, 450259, 10}));
    EXPECT_EQ(brandOf(host), "AMD EPYC");
    EXPECT_EQ(host.physicalMemory(), 24684092ull * 1024);
    EXPECT_EQ(host.swapUsage(), SwapUsage{});

    const auto averages = host.loadAverages();
    ASSERT_TRUE(averages);
    EXPECT_EQ(*averages, (LoadAverages{0.65, 0.45, 0.28}));

    const auto info = host.hostInfo();
    ASSERT_TRUE(info);
    EXPECT_EQ(info->max_cpus, 2);
    EXPECT_EQ(info->avail_cpus, 2);
    EXPECT_EQ(info->physical_cpu, 2);
    EXPECT_EQ(info->physical_cpu_max, 2);
    EXPECT_EQ(info->logical_cpu, 2);
    EXPECT_EQ(info->logical_cpu_max, 2);
    EXPECT_EQ(info->max_mem, 24684092ull * 1024);
    EXPECT_EQ(info->memory_size, 0xffff'ffffu); // more than 32 bits hold

    const auto memory = host.virtualMemory();
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->free_count, 23491624u / 4);
    EXPECT_EQ(memory->inactive_count, (23962988u - 23491624u) / 4);
    EXPECT_EQ(memory->active_count, (1688u + 310576u) / 4);
    EXPECT_EQ(memory->wire_count, (24684092u - 23962988u - 1688u - 310576u) / 4);
    EXPECT_EQ(memory->compressor_page_count, 0u);
    EXPECT_EQ(memory->pageins, 3850885u / 4);
    EXPECT_EQ(memory->pageouts, 2034824u / 4);
    EXPECT_EQ(memory->faults, 17989642u);
    EXPECT_EQ(host.thermalState(), ThermalState::nominal);
}

TEST(LinuxHost, FailsEachOperationWhereItsFileIsMissing) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    const auto reason = [](auto&& operation) {
        errno = 0;
        return operation() ? 0 : errno;
    };
    EXPECT_EQ(reason([&] { return host.bootTime(); }), ENOENT);
    EXPECT_NE(reason([&] { return host.hostInfo(); }), 0);
    EXPECT_EQ(reason([&] { return host.loadTicks(); }), ENOENT);
    EXPECT_EQ(reason([&] { return host.defaultProcessorSet(); }), ENOENT);
    EXPECT_NE(reason([&] { return host.processorSetLoad(ProcessorSet{1}); }), 0);
    EXPECT_EQ(reason([&] { return host.processorSetLoad(ProcessorSet{}); }), EINVAL);
    EXPECT_EQ(reason([&] { return host.virtualMemory(); }), ENOENT);
    EXPECT_EQ(reason([&] { return host.swapUsage(); }), ENOENT);
    EXPECT_EQ(reason([&] { return host.loadAverages(); }), ENOENT);
    EXPECT_EQ(reason([&] { return host.physicalMemory(); }), ENOENT);
    EXPECT_EQ(brandOf(host), "(none)");
    EXPECT_EQ(host.thermalState(), ThermalState::nominal);
}

TEST(LinuxHost, FailsOnFilesThatAreEmptyTornAbsurdlyLongOrFolders) {
    std::string endless(3 << 20, '7');
    for (const std::string& content : {std::string(), std::string("\n"), std::string("cpu"), std::string("cpu  1 2"),
                                       endless, std::string(1 << 20, '\n'), std::string(100000, '\0')}) {
        const TemporaryFolder folder;
        for (const char* name : {"stat", "meminfo", "vmstat", "loadavg", "cpuinfo"})
            folder.write(std::string("proc/") + name, content);
        folder.write("sys/devices/system/cpu/online", content);
        LinuxHostService host{SystemRoot(folder.path())};
        const std::string what = content.substr(0, 10) + "... of " + std::to_string(content.size());
        EXPECT_FALSE(host.bootTime()) << what;
        EXPECT_FALSE(host.hostInfo()) << what;
        EXPECT_FALSE(host.loadTicks()) << what;
        EXPECT_FALSE(host.virtualMemory()) << what;
        EXPECT_FALSE(host.swapUsage()) << what;
        EXPECT_FALSE(host.loadAverages()) << what;
        EXPECT_FALSE(host.physicalMemory()) << what;
        EXPECT_EQ(brandOf(host), "(none)") << what;
    }
    const TemporaryFolder folder;
    for (const char* name : {"stat", "meminfo", "vmstat", "loadavg", "cpuinfo"})
        folder.makeFolder(std::string("proc/") + name);
    LinuxHostService host{SystemRoot(folder.path())};
    errno = 0;
    EXPECT_FALSE(host.loadTicks());
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(host.virtualMemory());
    EXPECT_FALSE(host.bootTime());
}

TEST(LinuxHost, FailsOnFilesThatItMayNotRead) {
    const TemporaryFolder folder;
    folder.write("proc/stat", "cpu  1 2 3 4\nbtime 5\n");
    ASSERT_EQ(::chmod(folder.path("proc/stat").c_str(), 0), 0);
    // Root may read anything: become nobody meanwhile.
    const bool wasRoot = ::geteuid() == 0;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    ASSERT_TRUE(!wasRoot || ::seteuid(65534) == 0);
    LinuxHostService host{SystemRoot(folder.path())};
    errno = 0;
    const bool read = host.loadTicks().has_value();
    const int reason = errno;
    ASSERT_TRUE(!wasRoot || ::seteuid(0) == 0);
    EXPECT_FALSE(read);
    EXPECT_EQ(reason, EACCES);
}

TEST(LinuxHost, SamplesOnOnceAMissingFileIsThere) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    EXPECT_FALSE(host.loadTicks());
    folder.write("proc/stat", "cpu  1 2 3 4\n");
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{1, 3, 4, 2}));
    folder.write("proc/stat", "");
    EXPECT_FALSE(host.loadTicks());
    folder.write("proc/stat", "cpu  5 2 3 9\n");
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{5, 3, 9, 2}));
}

TEST(LinuxHost, NeverHandsOnTicksThatDecrease) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    folder.write("proc/stat", "cpu  100 10 50 1000 300 5 5 90 0 0\n");
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{100, 150, 1300, 10}));
    folder.write("proc/stat", "cpu  90 9 50 1000 200 5 5 10 0 0\n");
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{100, 150, 1300, 10}));
    folder.write("proc/stat", "cpu  91 9 52 1001 200 5 5 10 0 0\n");
    EXPECT_EQ(host.loadTicks(), (HostLoadTicks{101, 152, 1301, 10}));
}

TEST(LinuxHost, TellsTasksAndThreadsEachWithoutTheOther) {
    const TemporaryFolder folder;
    folder.write("proc/loadavg", "0.10 0.03 0.01 1/94 8684\n");
    LinuxHostService host{SystemRoot(folder.path())};
    const auto set = host.defaultProcessorSet();
    ASSERT_TRUE(set);
    auto load = host.processorSetLoad(*set);
    ASSERT_TRUE(load);
    EXPECT_EQ(load->tasks, 0u);
    EXPECT_EQ(load->threads, 94u);
    EXPECT_FALSE(host.processorSetLoad(ProcessorSet{99}));
}

TEST(LinuxHost, CutsABrandToTheBufferAndTakesTheBoardWhereThereIsNone) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    folder.write("proc/cpuinfo", "model name\t: " + std::string(500, 'x') + "\n");
    EXPECT_EQ(brandOf(host), std::string(64, 'x'));
    folder.write("proc/cpuinfo", "processor\t: 0\nCPU part\t: 0xd08\n");
    EXPECT_EQ(brandOf(host), "(none)");
    folder.write("proc/device-tree/model", std::string("Raspberry Pi 4 Model B Rev 1.4") + '\0');
    EXPECT_EQ(brandOf(host), "Raspberry Pi 4 Model B Rev 1.4");
    EXPECT_EQ(host.brand(std::span<char>()), 0u);
}

TEST(LinuxHost, CountsThePoolsOfZramAndZswapAsCompressed) {
    const TemporaryFolder folder;
    const auto compressed = [&](const std::string& pages, const std::string& zswap, const std::string& allocator) {
        folder.write("proc/meminfo",
                     "MemTotal: 8388608 kB\nMemFree: 1048576 kB\nMemAvailable: 2097152 kB\nZswap: " + zswap + " kB\n");
        folder.write("proc/vmstat", "nr_zspages " + pages + "\n");
        if (!allocator.empty())
            folder.write("sys/module/zswap/parameters/zpool", allocator + "\n");
        LinuxHostService host{SystemRoot(folder.path())};
        const auto counters = host.virtualMemory();
        return counters ? counters->compressor_page_count : 0;
    };
    const auto unit = static_cast<std::uint32_t>(::sysconf(_SC_PAGESIZE) / 4096);
    EXPECT_EQ(compressed("0", "0", ""), 0u);
    EXPECT_EQ(compressed("25600", "0", ""), 25600u * unit);                  // zram alone
    EXPECT_EQ(compressed("25600", "40960", ""), 25600u * unit);              // zswap is among them on newer kernels
    EXPECT_EQ(compressed("25600", "40960", "zsmalloc"), 25600u * unit);      // and where it was chosen
    EXPECT_EQ(compressed("25600", "40960", "zbud"), 25600u * unit + 10240u); // and beside them elsewhere
}

TEST(LinuxHost, ReadsMemoryWhereTheCountersFileIsMissing) {
    const TemporaryFolder folder;
    folder.write("proc/meminfo", "MemTotal: 8000 kB\nMemFree: 4000 kB\nMemAvailable: 6000 kB\n");
    LinuxHostService host{SystemRoot(folder.path())};
    const auto counters = host.virtualMemory();
    ASSERT_TRUE(counters);
    EXPECT_EQ(counters->free_count, 1000u);
    EXPECT_EQ(counters->pageins, 0u);
}

TEST(LinuxHost, AnswersTheQuestionsOfOneSampleFromOneReading) {
    const TemporaryFolder folder;
    const auto write = [&folder](const std::string& number) {
        folder.write("proc/stat", "cpu  " + number + " 0 0 0\ncpu0 " + number + " 0 0 0\n");
        folder.write("proc/meminfo", "MemTotal: 8000 kB\nMemFree: 4000 kB\nBuffers: " + number + " kB\n");
        folder.write("proc/vmstat", "pswpin " + number + "\npswpout 0\n");
    };
    write("100");
    LinuxHostService host{SystemRoot(folder.path())};
    ProcessorLoad load;
    MemoryDetails details;
    SwapCounters counters;
    const auto ask = [&] {
        EXPECT_EQ(host.processorLoad(load), Availability::available);
        EXPECT_EQ(host.memoryDetails(details), Availability::available);
        EXPECT_EQ(host.swapCounters(counters), Availability::available);
    };
    const auto pageSize = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    {
        const SampleScope sample;
        EXPECT_EQ(host.loadTicks(), (HostLoadTicks{100, 0, 0, 0}));
        EXPECT_TRUE(host.virtualMemory());
        write("200");
        std::thread([&host] { EXPECT_EQ(host.loadTicks(), (HostLoadTicks{200, 0, 0, 0})); }).join();
        ask();
        EXPECT_EQ(load.all.user, 100U) << "of the moment of the ticks";
        EXPECT_EQ(details.buffers, 100U * 1024);
        EXPECT_EQ(counters.in, 100U * pageSize);
    }
    ask();
    EXPECT_EQ(load.all.user, 200U);
    EXPECT_EQ(details.buffers, 200U * 1024);
    EXPECT_EQ(counters.in, 200U * pageSize);
    write("300");
    ask();
    EXPECT_EQ(load.all.user, 300U) << "outside of a sample each reads for itself";
    const SampleScope sample;
    folder.write("proc/meminfo", "");
    EXPECT_EQ(host.memoryDetails(details), Availability::failed);
    EXPECT_EQ(details.buffers, 300U * 1024);
}

// Where no file can be opened any more, what was sampled before is sampled on: the descriptors were kept.
TEST(LinuxHost, OpensNoFileOnceItHasSampled) {
    LinuxHostService host;
    const auto sample = [&] {
        const auto set = host.defaultProcessorSet();
        return host.loadTicks() && set && host.processorSetLoad(*set) && host.virtualMemory() && host.swapUsage() &&
               host.loadAverages();
    };
    if (!sample())
        GTEST_SKIP() << "this machine does not have all of the files";
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool canOpen = static_cast<bool>(SystemRoot().open("/proc/stat"));
    const bool sampled = sample();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_FALSE(canOpen);
    EXPECT_TRUE(sampled);
}

TEST(LinuxHost, AnswersSeveralThreads) {
    LinuxHostService host{SystemRoot(fixtures + "machine")};
    const auto ask = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(host.loadTicks(), (HostLoadTicks{38884, 9496, 450259, 10}));
            EXPECT_TRUE(host.defaultProcessorSet());
            EXPECT_EQ(host.swapUsage(), SwapUsage{});
            EXPECT_TRUE(host.virtualMemory());
            EXPECT_TRUE(host.loadAverages());
            EXPECT_EQ(host.thermalState(), ThermalState::nominal);
            EXPECT_EQ(brandOf(host), "AMD EPYC");
        }
    };
    std::thread other(ask);
    ask();
    other.join();
}

TEST(LinuxHost, ReadsEveryProcessorOfALargeMachine) {
    LinuxHostService host{SystemRoot(fixtures + "server")};
    ProcessorLoad load;
    EXPECT_EQ(host.processorLoad(load), Availability::available);
    ASSERT_EQ(load.each.size(), 128U);
    EXPECT_EQ(load.each[127].number, 127U);
    EXPECT_EQ(load.each[127].ticks, (ProcessorTicks{1127, 10, 439, 9127, 20, 0}));
    EXPECT_EQ(load.contextSwitches, 12345678U);
}

TEST(LinuxHost, ReadsATableOfAnyLength) {
    const TemporaryFolder folder;
    std::string stat = "cpu  1 2 3 4\n";
    for (int number = 0; number < 5000; ++number)
        stat += "cpu" + std::to_string(number) + " 1000000 2000000 3000000 4000000 5 6 7 8 9 10\n";
    folder.write("proc/stat", stat + "ctxt 77\n");
    LinuxHostService host{SystemRoot(folder.path())};
    ProcessorLoad load;
    EXPECT_EQ(host.processorLoad(load), Availability::available);
    EXPECT_EQ(load.each.size(), 5000U);
    EXPECT_EQ(load.contextSwitches, 77U);
}

TEST(LinuxHost, ReadsTheMemoryOfALaptopInDetail) {
    LinuxHostService host{SystemRoot(fixtures + "laptop")};
    MemoryDetails details;
    EXPECT_EQ(host.memoryDetails(details), Availability::available);
    EXPECT_EQ(details.available, 9280056ULL * 1024);
    EXPECT_EQ(details.slabUnreclaimable, 330816ULL * 1024);
    EXPECT_EQ(details.hugePagesTotal, 0U);
    SwapCounters swap;
    EXPECT_EQ(host.swapCounters(swap), Availability::available);
    const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    EXPECT_EQ(swap, (SwapCounters{25 * page, 400 * page}));
    MemoryCompression compression;
    EXPECT_EQ(host.memoryCompression(compression), Availability::available);
    EXPECT_EQ(compression, (MemoryCompression{151552000, 45088768}));
    std::vector<MemoryNode> nodes;
    EXPECT_EQ(host.memoryNodes(nodes), Availability::available);
    EXPECT_EQ(nodes, (std::vector<MemoryNode>{{0, 16096228ULL * 1024, 1893044ULL * 1024}}));
}

TEST(LinuxHost, CountsZswapOnlyWhereItIsOnOrHoldsSomething) {
    MemoryCompression compression{1, 2};
    LinuxHostService board{SystemRoot(fixtures + "board")};
    EXPECT_EQ(board.memoryCompression(compression), Availability::available);
    EXPECT_EQ(compression, (MemoryCompression{30720ULL * 1024, 10240ULL * 1024}));
    LinuxHostService server{SystemRoot(fixtures + "server")};
    EXPECT_EQ(server.memoryCompression(compression), Availability::unsupported);
    const TemporaryFolder folder;
    folder.write("proc/meminfo", "MemTotal: 8 kB\nZswap: 0 kB\nZswapped: 0 kB\n");
    folder.write("sys/module/zswap/parameters/enabled", "N\n");
    LinuxHostService off{SystemRoot(folder.path())};
    EXPECT_EQ(off.memoryCompression(compression), Availability::unsupported);
    folder.write("sys/module/zswap/parameters/enabled", "Y\n");
    EXPECT_EQ(off.memoryCompression(compression), Availability::available);
    EXPECT_EQ(compression, MemoryCompression{});
    folder.write("sys/module/zswap/parameters/enabled", "N\n");
    folder.write("proc/meminfo", "MemTotal: 8 kB\nZswap: 1 kB\nZswapped: 2 kB\n");
    folder.write("sys/block/zram0/disksize", "8192\n");
    folder.write("sys/block/zram0/mm_stat", "100 50 60\n");
    LinuxHostService both{SystemRoot(folder.path())};
    EXPECT_EQ(both.memoryCompression(compression), Availability::available);
    EXPECT_EQ(compression, (MemoryCompression{2148, 1084}));
}

TEST(LinuxHost, SaysOfEachFurtherFactWhyThereIsNoneAndLeavesTheRecord) {
    const TemporaryFolder folder;
    LinuxHostService host{SystemRoot(folder.path())};
    ProcessorLoad load;
    load.forks = 1;
    MemoryDetails details;
    details.dirty = 2;
    SwapCounters swap{3, 4};
    std::vector<MemoryNode> nodes = {{5, 6, 7}};
    OperatingSystem system;
    system.name = "before";
    ControlGroup group;
    group.processors = 8;
    std::vector<LoggedInUser> users(9);
    const auto expectAll = [&](Availability table) {
        EXPECT_EQ(host.processorLoad(load), table);
        EXPECT_EQ(host.memoryDetails(details), table);
        EXPECT_NE(host.swapCounters(swap), Availability::available);
        EXPECT_EQ(host.memoryNodes(nodes), Availability::unsupported);
        EXPECT_EQ(host.operatingSystem(system), Availability::unsupported);
        EXPECT_EQ(host.controlGroup(group), Availability::unsupported);
        EXPECT_EQ(host.users(users), Availability::unsupported);
    };
    expectAll(Availability::unsupported);
    for (const char* name : {"stat", "meminfo", "vmstat"})
        folder.write(std::string("proc/") + name, "nonsense");
    expectAll(Availability::failed);
    EXPECT_EQ(load.forks, 1U);
    EXPECT_EQ(details.dirty, 2U);
    EXPECT_EQ(swap, (SwapCounters{3, 4}));
    EXPECT_EQ(nodes.size(), 1U);
    EXPECT_EQ(system.name, "before");
    EXPECT_EQ(group.processors, 8);
    EXPECT_EQ(users.size(), 9U);
}

TEST(LinuxHost, TellsOfItselfOnALaptop) {
    LinuxHostService host{SystemRoot(fixtures + "laptop")};
    OperatingSystem system;
    EXPECT_EQ(host.operatingSystem(system), Availability::available);
    EXPECT_EQ(system.hostName, "laptop");
    Virtualization virtualization{"x", "y"};
    EXPECT_EQ(host.virtualization(virtualization), Availability::available);
    EXPECT_EQ(virtualization, Virtualization{});
    ControlGroup group;
    EXPECT_EQ(host.controlGroup(group), Availability::available);
    EXPECT_EQ(group.memoryUsed, 3221225472U);
    std::vector<LoggedInUser> users;
    EXPECT_EQ(host.users(users), Availability::available);
    EXPECT_EQ(users.size(), 2U);
}

TEST(LinuxHost, TakesNoMemoryForWhatIsSampledOnceItIsWarm) {
    if (!countsAllocations)
        return; // a sanitizer's own operators are in force
    for (const char* machine : {"laptop", "server"}) {
        LinuxHostService host{SystemRoot(fixtures + machine)};
        ProcessorLoad load;
        ProcessorFrequencies frequencies;
        MemoryDetails details;
        SwapCounters swap;
        MemoryCompression compression;
        std::vector<MemoryNode> nodes;
        Pressure pressure;
        const auto sample = [&] {
            static_cast<void>(host.processorLoad(load));
            static_cast<void>(host.processorFrequencies(frequencies));
            static_cast<void>(host.memoryDetails(details));
            static_cast<void>(host.swapCounters(swap));
            static_cast<void>(host.memoryCompression(compression));
            static_cast<void>(host.memoryNodes(nodes));
            static_cast<void>(host.pressure(PressureResource::cpu, pressure));
        };
        sample();
        const std::size_t before = allocations();
        for (int turn = 0; turn < 5; ++turn)
            sample();
        EXPECT_EQ(allocations(), before) << machine;
    }
}

} // namespace
} // namespace sentrel::platform
