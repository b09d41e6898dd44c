// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuFrequencies.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

ProcessorFrequencies ofMachine(const std::string& name) {
    CpuFrequencies files{SystemRoot(fixturePath("host/" + name))};
    ProcessorFrequencies frequencies;
    EXPECT_EQ(files.read(frequencies), Availability::available);
    return frequencies;
}

TEST(CpuFrequencies, AreReadInKilohertz) {
    EXPECT_EQ(parseFrequency("1800000\n"), 1'800'000'000U);
    EXPECT_EQ(parseFrequency("400000"), 400'000'000U);
    for (const char* text : {"", "\n", "0\n", "<unknown>\n", "-5", "1.8", "18446744073709551615", "1000000001", "1 2"})
        EXPECT_EQ(parseFrequency(text), std::nullopt) << text;
}

TEST(CpuFrequencies, OfALaptopComeWithTheKindsThatItsDriversName) {
    const ProcessorFrequencies laptop = ofMachine("laptop");
    ASSERT_EQ(laptop.each.size(), 8U);
    EXPECT_EQ(laptop.each[0],
              (CoreFrequency{0, 1'800'000'000, 400'000'000, 4'700'000'000, "powersave", CoreKind::performance}));
    EXPECT_EQ(laptop.each[7],
              (CoreFrequency{7, 1'200'007'000, 400'000'000, 3'500'000'000, "powersave", CoreKind::efficiency}));
    EXPECT_EQ(laptop.kinds, (CoreKinds{4, 4}));
}

TEST(CpuFrequencies, OfABoardComeWithTheKindsByCapacity) {
    const ProcessorFrequencies board = ofMachine("board");
    ASSERT_EQ(board.each.size(), 6U);
    EXPECT_EQ(board.each[3].kind, CoreKind::efficiency);
    EXPECT_EQ(board.each[4].kind, CoreKind::performance);
    EXPECT_EQ(board.each[4].governor, "schedutil");
    EXPECT_EQ(board.kinds, (CoreKinds{2, 4}));
}

TEST(CpuFrequencies, OfAServerAreOfAllItsProcessorsAndOfNoKind) {
    const ProcessorFrequencies server = ofMachine("server");
    ASSERT_EQ(server.each.size(), 128U);
    EXPECT_EQ(server.each[127].now, 2'250'000'000U);
    EXPECT_EQ(server.each[1].now, std::nullopt) << "one that does not tell";
    EXPECT_EQ(server.each[127].kind, std::nullopt);
    EXPECT_EQ(server.kinds, std::nullopt);
}

TEST(CpuFrequencies, OfAGuestAreNone) {
    CpuFrequencies files{SystemRoot(fixturePath("host/guest"))};
    ProcessorFrequencies frequencies;
    frequencies.kinds = CoreKinds{1, 1};
    const ProcessorFrequencies before = frequencies;
    EXPECT_EQ(files.read(frequencies), Availability::unsupported);
    EXPECT_EQ(frequencies, before);
}

TEST(CpuFrequencies, FollowTheFilesAndLeaveOutAProcessorThatWentAway) {
    const TemporaryFolder folder;
    folder.write("sys/devices/system/cpu/online", "0-1\n");
    for (const char* cpu : {"0", "1"}) {
        const std::string files = std::string("sys/devices/system/cpu/cpu") + cpu + "/cpufreq/";
        folder.write(files + "scaling_cur_freq", "1000000\n");
        folder.write(files + "scaling_governor", "powersave\n");
    }
    CpuFrequencies files{SystemRoot(folder.path())};
    ProcessorFrequencies frequencies;
    EXPECT_EQ(files.read(frequencies), Availability::available);
    ASSERT_EQ(frequencies.each.size(), 2U);
    folder.write("sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "<unknown>\n");
    folder.write("sys/devices/system/cpu/cpu0/cpufreq/scaling_governor", "performance\n");
    EXPECT_EQ(files.read(frequencies), Availability::available);
    EXPECT_EQ(frequencies.each[0].now, std::nullopt);
    EXPECT_EQ(frequencies.each[0].governor, "performance");
    EXPECT_EQ(frequencies.each[0].least, std::nullopt);
    EXPECT_EQ(frequencies.each[1].now, 1'000'000'000U);
}

} // namespace
} // namespace sentrel::platform
