// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/MemoryDevices.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

TEST(MemoryNodeFiles, OfAServerAreReadByTheirNumbers) {
    MemoryNodeFiles files{SystemRoot(fixturePath("host/server"))};
    std::vector<MemoryNode> nodes(5);
    EXPECT_EQ(files.read(nodes), Availability::available);
    EXPECT_THAT(nodes, ElementsAre(MemoryNode{0, 263942344ULL * 1024, 180000000ULL * 1024},
                                   MemoryNode{1, 264207552ULL * 1024, 90000000ULL * 1024}));
}

TEST(MemoryNodeFiles, AreInTheOrderOfTheirNumbersAndWithoutTheBrokenOnes) {
    const TemporaryFolder folder;
    const std::string nodes = "sys/devices/system/node/node";
    folder.write(nodes + "10/meminfo", "Node 10 MemTotal: 8 kB\nNode 10 MemFree: 4 kB\n");
    folder.write(nodes + "2/meminfo", "Node 2 MemTotal: 8 kB\nNode 2 MemFree: 5 kB");
    folder.write(nodes + "3/meminfo", "Node 3 MemTotal: 8 kB\n");
    folder.write(nodes + "x/meminfo", "Node 7 MemTotal: 8 kB\nNode 7 MemFree: 5 kB\n");
    MemoryNodeFiles files{SystemRoot(folder.path())};
    std::vector<MemoryNode> read;
    EXPECT_EQ(files.read(read), Availability::available);
    EXPECT_THAT(read, ElementsAre(MemoryNode{2, 8192, 5120}, MemoryNode{10, 8192, 4096}));
}

TEST(MemoryNodeFiles, ThatAreNotThereOrMakeNoSenseLeaveTheList) {
    const TemporaryFolder folder;
    std::vector<MemoryNode> nodes = {{1, 2, 3}};
    MemoryNodeFiles none{SystemRoot(folder.path())};
    EXPECT_EQ(none.read(nodes), Availability::unsupported);
    folder.write("sys/devices/system/node/node0/meminfo", "nonsense");
    MemoryNodeFiles broken{SystemRoot(folder.path())};
    EXPECT_EQ(broken.read(nodes), Availability::failed);
    EXPECT_THAT(nodes, ElementsAre(MemoryNode{1, 2, 3}));
}

TEST(ZramDevices, CountTogetherUnlessTheyHaveNoSize) {
    const TemporaryFolder folder;
    ZramDevices none{SystemRoot(folder.path())};
    EXPECT_EQ(none.read(), std::nullopt);
    folder.write("sys/block/zram0/disksize", "0\n");
    folder.write("sys/block/zram0/mm_stat", "7 7 7\n");
    ZramDevices unset{SystemRoot(folder.path())};
    EXPECT_EQ(unset.read(), std::nullopt);
    folder.write("sys/block/zram1/disksize", "4096000\n");
    folder.write("sys/block/zram1/mm_stat", "4096 1000 1200 0 0 0 0 0 0\n");
    folder.write("sys/block/zram2/disksize", "4096000\n");
    folder.write("sys/block/zram2/mm_stat", "   8192     2000     2400\n");
    ZramDevices devices{SystemRoot(folder.path())};
    EXPECT_EQ(devices.read(), (MemoryCompression{12288, 3600}));
}

TEST(MemoryCompression, HasARatioOnceSomethingIsStored) {
    EXPECT_EQ((MemoryCompression{12288, 4096}).ratio(), 3);
    EXPECT_EQ((MemoryCompression{0, 4096}).ratio(), std::nullopt);
    EXPECT_EQ((MemoryCompression{4096, 0}).ratio(), std::nullopt);
}

} // namespace
} // namespace sentrel::platform
