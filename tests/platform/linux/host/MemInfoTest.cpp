// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/MemInfo.h>

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace sentrel::platform {
namespace {

constexpr std::uint64_t MiB = 1024; // in KiB, as the files count

// A machine of 16 GiB with a busy desktop, zswap and locked memory.
constexpr const char* desktop = "MemTotal:       16280000 kB\n"
                                "MemFree:          812340 kB\n"
                                "MemAvailable:    6412008 kB\n"
                                "Buffers:          402112 kB\n"
                                "Cached:          6100444 kB\n"
                                "SwapCached:       120044 kB\n"
                                "Active:          7120040 kB\n"
                                "Inactive:        5880012 kB\n"
                                "Active(anon):    4200100 kB\n"
                                "Inactive(anon):  2800204 kB\n"
                                "Active(file):    2919940 kB\n"
                                "Inactive(file):  3079808 kB\n"
                                "Unevictable:      180224 kB\n"
                                "Mlocked:           48000 kB\n"
                                "SwapTotal:       8388604 kB\n"
                                "SwapFree:        6291452 kB\n"
                                "Zswap:            300000 kB\n"
                                "Zswapped:         900000 kB\n"
                                "AnonPages:       6480000 kB\n"
                                "Shmem:            620304 kB\n"
                                "SReclaimable:     410000 kB\n"
                                "SUnreclaim:       210000 kB\n"
                                "Hugepagesize:       2048 kB\n";

std::uint64_t sum(const VirtualMemoryCounters& counters) {
    return std::uint64_t{counters.free_count} + counters.inactive_count + counters.active_count + counters.wire_count +
           counters.compressor_page_count;
}

double usage(const VirtualMemoryCounters& counters) {
    const std::uint64_t used =
        std::uint64_t{counters.wire_count} + counters.active_count + counters.compressor_page_count;
    return 100.0 * static_cast<double>(used) / static_cast<double>(sum(counters));
}

TEST(MemInfo, ReadsTheLinesThatMatter) {
    const auto info = parseMemInfo(desktop);
    ASSERT_TRUE(info);
    EXPECT_EQ(info->memTotal, 16280000u);
    EXPECT_EQ(info->memFree, 812340u);
    EXPECT_EQ(info->memAvailable, 6412008u);
    EXPECT_EQ(info->buffers, 402112u);
    EXPECT_EQ(info->cached, 6100444u); // not SwapCached
    EXPECT_EQ(info->activeAnon, 4200100u);
    EXPECT_EQ(info->inactiveAnon, 2800204u);
    EXPECT_EQ(info->anonPages, 6480000u);
    EXPECT_EQ(info->shmem, 620304u);
    EXPECT_EQ(info->reclaimableSlab, 410000u);
    EXPECT_EQ(info->zswap, 300000u); // not Zswapped
    EXPECT_EQ(info->swapTotal, 8388604u);
    EXPECT_EQ(info->swapFree, 6291452u);
}

TEST(MemInfo, NeedsTheTotalAndTheFreeMemory) {
    for (const char* text :
         {"", "\n", "MemTotal", "MemTotal:", "MemTotal: 5 kB\n", "MemFree: 5 kB\n", "MemTotal: 0 kB\nMemFree: 0 kB\n",
          "MemTotal: x kB\nMemFree: 1 kB\n", "MemTotal: 99999999999999999999 kB\nMemFree: 1 kB\n",
          "MemTotal: 9999999999999999999 kB\nMemFree: 1 kB\n", "MemTotal: 5 kB\nMemFr", ": 5 kB\n:\n"})
        EXPECT_FALSE(parseMemInfo(text)) << '"' << text << '"';
    EXPECT_TRUE(parseMemInfo("MemTotal: 5 kB\nMemFree: 1")); // the last line end may be missing
}

TEST(MemInfo, AccountsForEveryPageOnceAndUsesWhatIsNotAvailable) {
    const MemInfo info = *parseMemInfo(desktop);
    const VirtualMemoryCounters counters = memoryCounters(info, VmStat(), 300000 * 1024);
    EXPECT_NEAR(static_cast<double>(sum(counters)) * 4, 16280000, 16280000 * 0.0001);
    EXPECT_NEAR(usage(counters), 100.0 * (16280000 - 6412008) / 16280000, 0.1);
    EXPECT_EQ(counters.free_count, 812340u / 4);
    EXPECT_EQ(counters.inactive_count, (6412008u - 812340u) / 4);
    EXPECT_EQ(counters.active_count, (4200100u + 2800204u) / 4);
    EXPECT_EQ(counters.compressor_page_count, 75000u);
    EXPECT_EQ(counters.internal_page_count, (6480000u + 620304u) / 4);
    EXPECT_EQ(counters.purgeable_count, 0u);
    EXPECT_EQ(counters.external_page_count, (402112u + 6100444u - 620304u) / 4);
}

TEST(MemInfo, HoldsTogetherWhateverTheFiguresAre) {
    struct Case {
        const char* what;
        MemInfo info;
        std::uint64_t compressed;
    };
    MemInfo base;
    base.memTotal = 4096 * MiB;
    base.memFree = 1000 * MiB;
    base.memAvailable = 2000 * MiB;
    base.activeAnon = 800 * MiB;
    base.inactiveAnon = 200 * MiB;
    Case cases[] = {{"plain", base, 0},
                    {"the reserve is larger than the cache", base, 0},
                    {"nothing is available", base, 0},
                    {"more is available than there is", base, 0},
                    {"more is free than there is", base, 0},
                    {"programs have more than is used", base, 0},
                    {"the compressor has more than is used", base, ~std::uint64_t{0}},
                    {"every line but two is missing", base, 0}};
    cases[1].info.memAvailable = 900 * MiB;
    cases[2].info.memAvailable = 0;
    cases[3].info.memAvailable = 9000 * MiB;
    cases[4].info.memFree = 9000 * MiB;
    cases[5].info.activeAnon = 9000 * MiB;
    cases[7].info = MemInfo();
    cases[7].info.memTotal = 4096 * MiB;
    cases[7].info.memFree = 1000 * MiB;
    for (const Case& each : cases) {
        const VirtualMemoryCounters counters = memoryCounters(each.info, VmStat(), each.compressed);
        EXPECT_NEAR(static_cast<double>(sum(counters)), 1024.0 * 1024, 5) << each.what;
        EXPECT_EQ(std::uint64_t{counters.free_count} + counters.inactive_count, availableKiB(each.info) / 4)
            << each.what;
    }
}

TEST(MemInfo, ReckonsWhatIsAvailableWhereTheKernelDoesNotSay) {
    MemInfo info;
    info.memTotal = 1000;
    info.memFree = 100;
    info.buffers = 20;
    info.cached = 300;
    info.shmem = 50;
    info.reclaimableSlab = 30;
    EXPECT_EQ(availableKiB(info), 400u);
    info.shmem = 5000;
    EXPECT_EQ(availableKiB(info), 130u);
}

TEST(MemInfo, EndsAtTheWidthOfTheCounters) {
    MemInfo info;
    info.memTotal = std::uint64_t{32} << 30; // 32 TiB
    info.memFree = info.memTotal;
    info.memAvailable = info.memTotal;
    EXPECT_EQ(memoryCounters(info, VmStat(), 0).free_count, 0xffff'ffffu);
}

TEST(MemInfo, TellsSwapInBytes) {
    EXPECT_EQ(swapUsageOf(*parseMemInfo(desktop)),
              (SwapUsage{8388604ull * 1024, 6291452ull * 1024, (8388604ull - 6291452) * 1024}));
    MemInfo odd;
    odd.swapTotal = 5;
    odd.swapFree = 9;
    EXPECT_EQ(swapUsageOf(odd), (SwapUsage{5 * 1024, 5 * 1024, 0}));
}

TEST(VmStat, ReadsItsFourLinesAmongAHundred) {
    const VmStat stat = parseVmStat("nr_free_pages 5\nnr_zspages 7\nnr_free_cma 0\npgpgin 4000\npgpgout 800\n"
                                    "pgpgoutdrop 3\npgalloc_dma 1\npgfault 99\npgfaulty 3\npgmajfault 4");
    EXPECT_EQ(stat.zsmallocPages, 7u);
    EXPECT_EQ(stat.kibIn, 4000u);
    EXPECT_EQ(stat.kibOut, 800u);
    EXPECT_EQ(stat.faults, 99u);
}

TEST(VmStat, LeavesWhatIsMissingOrMalformedAtZero) {
    for (const char* text : {"", "\n", "p", "pg", "pgpgin", "pgpgin \n", "pgpgin x\n", "pgfault -5\nnr_zspages",
                             "pgfault 99999999999999999999\n"}) {
        const VmStat stat = parseVmStat(text);
        EXPECT_EQ(stat.zsmallocPages + stat.kibIn + stat.kibOut + stat.faults, 0u) << '"' << text << '"';
    }
}

TEST(VmStat, CountsPagesOf4096Bytes) {
    VmStat stat;
    stat.kibIn = 4000;
    stat.kibOut = 803;
    stat.faults = 99;
    const VirtualMemoryCounters counters = memoryCounters(*parseMemInfo(desktop), stat, 0);
    EXPECT_EQ(counters.pageins, 1000u);
    EXPECT_EQ(counters.pageouts, 200u);
    EXPECT_EQ(counters.faults, 99u);
}

TEST(MemInfo, HasDetailsByTheirNames) {
    const auto details = parseMemoryDetails("MemTotal: 100 kB\nMemAvailable: 1 kB\nBuffers: 2 kB\nCached: 3 kB\n"
                                            "Dirty: 4 kB\nWriteback: 5 kB\nSReclaimable: 6 kB\nSUnreclaim: 7 kB\n"
                                            "HugePages_Total:    8\nHugePages_Free: 9\nHugepagesize: 2048 kB\n");
    EXPECT_EQ(details, (MemoryDetails{1024, 2048, 3072, 6144, 7168, 8, 9, 2048 * 1024, 4096, 5120}));
}

TEST(MemInfo, HasNoDetailThatIsMissingOrMakesNoSense) {
    const auto details = parseMemoryDetails("MemTotal: 100 kB\nBuffers: x kB\nCached: -1 kB\n"
                                            "Dirty: 99999999999999999999 kB\nWriteback: 18446744073709551615 kB\n"
                                            "SReclaimable: 0 kB\nSUnrecl");
    ASSERT_TRUE(details);
    MemoryDetails expected;
    expected.slabReclaimable = 0;
    EXPECT_EQ(*details, expected);
    for (const char* text : {"", "\n", "MemTotal", "Buffers: 1 kB\n"})
        EXPECT_FALSE(parseMemoryDetails(text)) << text;
}

TEST(MemInfo, CountsWhatWasSwappedInBytes) {
    EXPECT_EQ(parseSwapCounters("nr_free_pages 1\npswpin 3\npswpout 5\n", 4096), (SwapCounters{12288, 20480}));
    EXPECT_EQ(parseSwapCounters("pswpin 3\npswpout 5", 16384), (SwapCounters{49152, 81920}));
    for (const char* text :
         {"", "pswpin 3\n", "pswpout 5\n", "pswpin 3\npswpout x\n", "pswpin 18446744073709551615\npswpout 5\n"})
        EXPECT_FALSE(parseSwapCounters(text, 4096)) << text;
}

TEST(MemInfo, TellsWhatZswapAndZramKeep) {
    EXPECT_EQ(parseZswap("Zswap: 10 kB\nZswapped: 30 kB\n"), (MemoryCompression{30720, 10240}));
    EXPECT_EQ(parseZswap("Zswap: 10 kB\n"), std::nullopt) << "before Linux 5.19";
    EXPECT_EQ(parseZram("151552000 41943040 45088768        0 46137344\n"), (MemoryCompression{151552000, 45088768}));
    for (const char* text : {"", "1", "1 2", "1 2 x", "x"})
        EXPECT_EQ(parseZram(text), std::nullopt) << text;
}

TEST(MemInfo, TellsOfANode) {
    EXPECT_EQ(parseMemoryNode("Node 1 MemTotal: 8 kB\nNode 1 MemFree: 4 kB\nNode 1 MemUsed: 4 kB\n"),
              (MemoryNode{1, 8192, 4096}));
    for (const char* text : {"", "Node", "Node 1", "Node 1 MemTotal: 8 kB\n", "Node 1 MemFree: 8 kB",
                             "Node x MemTotal: 8 kB\nNode x MemFree: 8 kB", "MemTotal: 8 kB\nMemFree: 8 kB"})
        EXPECT_EQ(parseMemoryNode(text), std::nullopt) << text;
}

} // namespace
} // namespace sentrel::platform
