// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/CpuInfo.h>

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

using Numbers = std::vector<std::uint32_t>;

TEST(CpuInfo, FindsTheBrandUnderTheKeyOfEachArchitecture) {
    struct Case {
        const char* text;
        const char* brand;
    };
    const Case cases[] = {
        {"processor\t: 0\nmodel\t\t: 2\nmodel name\t: Intel(R) Core(TM) i7 CPU @ 2.50GHz\n",
         "Intel(R) Core(TM) i7 CPU @ 2.50GHz"},
        {"processor\t: 0\nmodel name\t:   Padded  Name  ", "  Padded  Name  "},
        {"system type\t: Board\nprocessor\t: 0\ncpu model\t\t: MIPS 24Kc V5.0\n", "MIPS 24Kc V5.0"},
        {"processor\t: 0\ncpu\t\t: POWER9, altivec supported\n", "POWER9, altivec supported"},
        {"Processor\t: ARMv7 Processor rev 4 (v7l)\nprocessor\t: 0\nHardware\t: BCM2835\n",
         "ARMv7 Processor rev 4 (v7l)"},
        {"processor\t: 0\nCPU part\t: 0xd08\n\nHardware\t: BCM2835\n", "BCM2835"},
        {"model name\t: \nmodel name\t: Second\n", "Second"},
    };
    for (const Case& each : cases)
        EXPECT_EQ(findBrand(each.text), each.brand) << each.text;
}

TEST(CpuInfo, HasNoBrandWhereNoneOrABlankOneStands) {
    for (const char* text : {"", "\n", "model name", "model name:", "model name\t: \t \n", "processor\t: 0\n", ":\n",
                             ": Nameless\n", "my model name\t: X\n"})
        EXPECT_FALSE(findBrand(text)) << '"' << text << '"';
}

TEST(CpuInfo, ListsTheProcessorsWithTheirCores) {
    const auto processors = parseProcessors("processor\t: 0\nphysical id\t: 1\ncore id\t\t: 5\n\n"
                                            "processor\t: 3\ncore id\t\t: 6\n\nprocessor\t: 7\n");
    ASSERT_EQ(processors.size(), 3u);
    EXPECT_EQ(processors[0], (ProcessorCore{0, 1, 5}));
    EXPECT_EQ(processors[1], (ProcessorCore{3, std::nullopt, 6}));
    EXPECT_EQ(processors[2], (ProcessorCore{7, std::nullopt, std::nullopt}));
    EXPECT_TRUE(parseProcessors("core id\t: 5\nprocessor\t: x\nprocessor").empty());
}

TEST(ProcessorList, ReadsNumbersAndRanges) {
    EXPECT_EQ(parseProcessorList("0\n"), Numbers({0}));
    EXPECT_EQ(parseProcessorList("0-3"), Numbers({0, 1, 2, 3}));
    EXPECT_EQ(parseProcessorList("0-1,4,8-9\n"), Numbers({0, 1, 4, 8, 9}));
    EXPECT_EQ(parseProcessorList("\n"), Numbers());
    EXPECT_EQ(parseProcessorList(""), Numbers());
}

TEST(ProcessorList, RefusesWhatIsNoList) {
    for (const char* text : {"-", "-3", "3-", "3-1", "a", "0,", ",0", "0,,1", "0 1", "1,0", "0-2,1", "0-4294967295",
                             "99999999999", "0-3x", "0-1:1/2"})
        EXPECT_FALSE(parseProcessorList(text)) << '"' << text << '"';
}

} // namespace
} // namespace sentrel::platform
