// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/DiskCounters.h>

#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace sentrel::platform {
namespace {

std::int64_t now = 0;

std::int64_t testClock() noexcept {
    return now;
}

class DiskCountersTest : public testing::Test {
protected:
    static constexpr std::int64_t millisecond = 1'000'000;

    void write(const std::string& disk, int sectors) {
        files_.write("/sys/class/block/" + disk + "/stat", "0 0 " + std::to_string(sectors) + " 0 0 0 0 0\n");
    }

    static std::optional<std::int64_t> sectorsRead(DiskCounters& counters) {
        const std::optional<DiskStatistics> statistics = counters.statistics();
        if (!statistics || !statistics->bytesRead)
            return std::nullopt;
        return *statistics->bytesRead / 512;
    }

    TemporaryFolder files_;
    BlockDevices devices_{SystemRoot(files_.path())};
    CounterGroup group_{testClock};
};

// Two disks after their first sample.
class TwoDiskCounters : public DiskCountersTest {
protected:
    TwoDiskCounters() {
        write("sda", 1);
        write("sdb", 10);
        sample();
    }

    void sample() {
        static_cast<void>(sectorsRead(first_));
        static_cast<void>(sectorsRead(second_));
        now += 1'000 * millisecond;
    }

    DiskCounters first_{group_, devices_, "sda"};
    DiskCounters second_{group_, devices_, "sdb"};
};

TEST_F(DiskCountersTest, GiveAnAskedDiskItsCountersOfNow) {
    write("sda", 1);
    DiskCounters counters(group_, devices_, "sda");
    EXPECT_EQ(sectorsRead(counters), 1);
    write("sda", 2);
    EXPECT_EQ(sectorsRead(counters), 2);
}

TEST_F(TwoDiskCounters, AreReadTogetherWithThoseOfTheFirstDiskOfASample) {
    write("sda", 2);
    write("sdb", 20);
    EXPECT_EQ(sectorsRead(first_), 2);
    write("sdb", 30);
    EXPECT_EQ(sectorsRead(second_), 20);
}

TEST_F(TwoDiskCounters, AreGivenOnceForEachReading) {
    static_cast<void>(sectorsRead(first_));
    EXPECT_EQ(sectorsRead(second_), 10);
    write("sdb", 20);
    EXPECT_EQ(sectorsRead(second_), 20);
}

TEST_F(TwoDiskCounters, AreReadAnewWhenTheyWaitedTooLong) {
    static_cast<void>(sectorsRead(first_));
    write("sdb", 20);
    now += 10 * millisecond;
    EXPECT_EQ(sectorsRead(second_), 10);
    static_cast<void>(sectorsRead(first_));
    write("sdb", 30);
    now += 10 * millisecond + 1;
    EXPECT_EQ(sectorsRead(second_), 30);
}

TEST_F(DiskCountersTest, OfADiskThatNobodyAsksForAreNotRead) {
    write("sda", 1);
    DiskCounters first(group_, devices_, "sda");
    DiskCounters second(group_, devices_, "sdb");
    EXPECT_EQ(sectorsRead(first), 1);
    write("sdb", 10);
    EXPECT_EQ(sectorsRead(first), 1);
    write("sdb", 20);
    EXPECT_EQ(sectorsRead(second), 20);
}

TEST_F(DiskCountersTest, LeaveTheGroupWithTheirDisk) {
    write("sda", 1);
    write("sdb", 10);
    DiskCounters first(group_, devices_, "sda");
    {
        DiskCounters second(group_, devices_, "sdb");
        static_cast<void>(sectorsRead(second));
    }
    EXPECT_EQ(sectorsRead(first), 1);
}

TEST_F(DiskCountersTest, AreAbsentWithoutTheDevice) {
    DiskCounters counters(group_, devices_, "sda");
    EXPECT_EQ(sectorsRead(counters), std::nullopt);
    write("sda", 3);
    EXPECT_EQ(sectorsRead(counters), 3);
}

} // namespace
} // namespace sentrel::platform
