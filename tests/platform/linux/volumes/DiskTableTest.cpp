// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DiskTable.h>

#include "tests/support/Allocations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

using testing::IsEmpty;

// Captured: a virtual machine's disk with a loop device, with the fields of discards and flushes behind (Linux 5.5).
constexpr const char* captured =
    "   7       0 loop0 47955 549 335368 19773 38253 34855 8995130 88103 0 84796 164574 1410 0 23121282 797 23979 "
    "55900\n"
    " 254       0 vda 790845 101685 20888554 612500 2472874 652787 429361816 2470961 3 452000 3083461 0 0 0 0 0 0\n"
    "   8       1 sda1 10 0 80 5 20 0 160 9 0 12 14\n"; // as Linux 2.6 wrote it

std::vector<DiskOperations> parse(std::string_view table) {
    std::vector<DiskOperations> disks(1);
    parseDiskTable(table, disks);
    return disks;
}

TEST(DiskTable, IsReadLineByLineWhateverFieldsFollow) {
    const std::vector<DiskOperations> disks = parse(captured);
    ASSERT_EQ(disks.size(), 3U);
    EXPECT_EQ(disks[0].name, "loop0");
    EXPECT_EQ(disks[1].name, "vda");
    EXPECT_EQ(disks[1].reads, 790845);
    EXPECT_EQ(disks[1].readTime, 612500U);
    EXPECT_EQ(disks[1].writes, 2472874);
    EXPECT_EQ(disks[1].writeTime, 2470961U);
    EXPECT_EQ(disks[1].operationsNow, 3);
    EXPECT_EQ(disks[1].busyTime, 452000U);
    EXPECT_EQ(disks[1].queueTime, 3083461U);
    EXPECT_EQ(disks[2].name, "sda1");
    EXPECT_EQ(disks[2].queueTime, 14U);
}

TEST(DiskTable, LeavesOutLinesThatAreCutOrHoldNoNumber) {
    EXPECT_THAT(parse(""), IsEmpty());
    EXPECT_THAT(parse("\n\n"), IsEmpty());
    EXPECT_THAT(parse("8 0 sda 1 2 3"), IsEmpty());
    EXPECT_THAT(parse("8 0 sda 1 2 3 4 5 6 7 8 9 10"), IsEmpty()) << "one short";
    EXPECT_THAT(parse("8 0 sda 1 2 3 4 5 6 7 8 9 10 -11"), IsEmpty());
    EXPECT_THAT(parse("8 0 sda 1 2 3 4 5 6 7 8 9 10 99999999999999999999999"), IsEmpty());
    EXPECT_EQ(parse("8 0 sda 1 2 3 4 5 6 7 8 9 10 11").size(), 1U) << "without a line's end";
    EXPECT_EQ(parse("cut\n8 0 sda 1 2 3 4 5 6 7 8 9 10 11\n8 0 sd").size(), 1U);
}

TEST(DiskTable, KeepsTheLow32BitsOfATime) {
    EXPECT_EQ(parse("8 0 sda 1 2 3 4294967297 5 6 7 8 9 10 11")[0].readTime, 1U);
}

TEST(DiskTable, IsReadWithoutAllocatingOnceWarm) {
    std::vector<DiskOperations> disks;
    parseDiskTable(captured, disks);
    const std::size_t before = allocations();
    for (int sample = 0; sample < 10; ++sample)
        parseDiskTable(captured, disks);
    if (countsAllocations) {
        EXPECT_EQ(allocations(), before);
    }
}

} // namespace
} // namespace sentrel::platform
