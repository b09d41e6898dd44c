// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/CapturedProperties.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A machine's /sys as the kernel lays it out: devices are folders, the classes link to them.
class DeviceTree : public testing::Test {
protected:
    // A disk, or a partition when its path has the disk's folder in it; returns its folder.
    std::string add(const std::string& name, const std::string& folder, const std::string& number) {
        const std::string device = "/sys/devices/" + folder + '/' + name;
        files_.write(device + "/dev", number + "\n");
        files_.link("/sys/class/block/" + name, "../../devices/" + folder + '/' + name);
        files_.link("/sys/dev/block/" + number, "../../devices/" + folder + '/' + name);
        return device;
    }
    void partition(const std::string& folder) { files_.write(folder + "/partition", "1\n"); }
    void stack(const std::string& device, const std::string& component) {
        files_.link(device + "/slaves/" + component, "../../" + component);
    }

    TemporaryFolder files_;
    const BlockDevices devices_ = capturedDevices(SystemRoot(files_.path()));
};

TEST(BlockStatistics, CountSectorsOf512Bytes) {
    const DiskStatistics statistics = parseBlockStatistics(
        "   32933     7613  2637594     7026    25266     9349   996744     3352        0     4652    10738\n");
    EXPECT_EQ(statistics.bytesRead, 2637594LL * 512);
    EXPECT_EQ(statistics.bytesWritten, 996744LL * 512);
}

TEST(BlockStatistics, AreAbsentWhereTheirFieldIs) {
    EXPECT_FALSE(parseBlockStatistics("").bytesRead);
    EXPECT_EQ(parseBlockStatistics("1 2 3").bytesRead, 1536);
    EXPECT_FALSE(parseBlockStatistics("1 2 3 4 5 6").bytesWritten);
    EXPECT_EQ(parseBlockStatistics("1 2 3 4 5 6 7").bytesWritten, 3584);
    EXPECT_FALSE(parseBlockStatistics("1 2 x 4 5 6 -7").bytesRead);
    EXPECT_FALSE(parseBlockStatistics("1 2 x 4 5 6 -7").bytesWritten);
    EXPECT_FALSE(parseBlockStatistics("1 2 99999999999999999999 4 5 6 7").bytesRead);
}

TEST(BlockStatistics, WrapWhereTheyDoNotFit) {
    EXPECT_EQ(parseBlockStatistics("0 0 36028797018963969").bytesRead, 512); // 2 to the 55th and one
}

TEST(UdevDatabase, DecodesItsValues) {
    EXPECT_EQ(udevDecoded("My\\x20Disk\\x20\\x20"), "My Disk");
    EXPECT_EQ(udevDecoded("\\xc3\\xa4"), "\u00e4");
    EXPECT_EQ(udevDecoded("a\\x2"), "a\\x2");
    EXPECT_EQ(udevDecoded("a\\xZZ"), "a\\xZZ");
    EXPECT_FALSE(udevDecoded("\\x20 "));
    EXPECT_FALSE(udevDecoded(""));
}

TEST_F(DeviceTree, KnowsADeviceByItsOwnName) {
    add("sda", "pci/block", "8:0");
    EXPECT_EQ(devices_.kernelName("sda"), "sda");
    for (const char* name : {"sdb", "", ".", "..", "../block/sda", "sda/"})
        EXPECT_FALSE(devices_.kernelName(name)) << name;
}

TEST_F(DeviceTree, KnowsAMapperDeviceAndAFolderedOneByTheirNodes) {
    const std::string mapper = add("dm-0", "virtual/block", "252:0");
    files_.write(mapper + "/dm/name", "vg-root\n");
    add("cciss!c0d0", "pci/block", "104:0");
    EXPECT_EQ(devices_.kernelName("vg-root"), "dm-0");
    EXPECT_EQ(devices_.kernelName("c0d0"), "cciss!c0d0");
    EXPECT_EQ(devices_.kernelName("/dev/mapper/vg-root"), "dm-0");
    EXPECT_EQ(devices_.kernelName("/dev/dm-0"), "dm-0");
    EXPECT_EQ(devices_.kernelName("/dev/cciss/c0d0"), "cciss!c0d0");
    EXPECT_FALSE(devices_.kernelName("/dev/"));
    EXPECT_FALSE(devices_.kernelName("/dev/.."));
    EXPECT_FALSE(devices_.kernelName("/elsewhere/dm-0"));
    EXPECT_EQ(BlockDevices::node("cciss!c0d0"), "/dev/cciss/c0d0");
}

TEST_F(DeviceTree, LeadsFromAPartitionToItsDisk) {
    add("sda", "pci/block", "8:0");
    partition(add("sda1", "pci/block/sda", "8:1"));
    add("nvme0n1", "pci/nvme/nvme0", "259:0");
    partition(add("nvme0n1p2", "pci/nvme/nvme0/nvme0n1", "259:2"));
    EXPECT_EQ(devices_.wholeDisk("sda1"), "sda");
    EXPECT_EQ(devices_.wholeDisk("sda"), "sda");
    EXPECT_EQ(devices_.wholeDisk("nvme0n1p2"), "nvme0n1");
    EXPECT_EQ(devices_.nameOfNumber(8, 1), "sda1");
    EXPECT_FALSE(devices_.nameOfNumber(8, 99));
}

TEST_F(DeviceTree, LeadsDownAStackWhileThereIsOneWay) {
    add("sda", "pci/block", "8:0");
    partition(add("sda2", "pci/block/sda", "8:2"));
    const std::string crypt = add("dm-0", "virtual/block", "252:0");
    stack(crypt, "sda2");
    const std::string logical = add("dm-1", "virtual/block", "252:1");
    stack(logical, "dm-0");
    EXPECT_EQ(devices_.wholeDisk("dm-1"), "dm-1");
    EXPECT_THAT(devices_.components("dm-1"), ElementsAre("dm-0"));
    EXPECT_EQ(devices_.bottomDisk("dm-1"), "sda");

    add("sdb", "pci/block", "8:16");
    add("sdc", "pci/block", "8:32");
    const std::string raid = add("md0", "virtual/block", "9:0");
    stack(raid, "sdb");
    stack(raid, "sdc");
    EXPECT_THAT(devices_.components("md0"), ElementsAre("sdb", "sdc"));
    EXPECT_EQ(devices_.bottomDisk("md0"), "md0");
}

TEST_F(DeviceTree, ComesToAnEndOnARingOfStacks) {
    const std::string first = add("dm-0", "virtual/block", "252:0");
    const std::string second = add("dm-1", "virtual/block", "252:1");
    stack(first, "dm-1");
    stack(second, "dm-0");
    EXPECT_FALSE(devices_.bottomDisk("dm-0").empty());
}

TEST_F(DeviceTree, FindsTheHiddenPathsOfAnNvmeNamespace) {
    const std::string head = add("nvme0n1", "virtual/nvme-subsystem/nvme-subsys0", "259:0");
    files_.link(head + "/device", "../../nvme-subsys0");
    files_.makeFolder("/sys/devices/virtual/nvme-subsystem/nvme-subsys0/nvme0/nvme0c0n1");
    files_.makeFolder("/sys/devices/virtual/nvme-subsystem/nvme-subsys0/nvme0/nvme0c0n2");
    files_.makeFolder("/sys/devices/virtual/nvme-subsystem/nvme-subsys0/nvme1/nvme0c1n1");
    EXPECT_THAT(devices_.nvmePaths("nvme0n1"), ElementsAre("nvme0/nvme0c0n1", "nvme1/nvme0c1n1"));
    EXPECT_THAT(devices_.nvmePaths("sda"), IsEmpty());
    EXPECT_THAT(devices_.nvmePaths("nvme"), IsEmpty());
}

TEST_F(DeviceTree, PrefersUdevsModelToTheShortOneOfTheKernel) {
    const std::string disk = add("sda", "pci/block", "8:0");
    files_.write(disk + "/device/model", "SSD 1 TB SERIES X   \n");
    EXPECT_EQ(devices_.model("sda"), "SSD 1 TB SERIES X");
    files_.write("/run/udev/data/b8:0",
                 "E:ID_MODEL=SSD_1_TB\nE:ID_MODEL_ENC=SSD\\x201\\x20TB\\x20SERIES\\x20XL\\x20\\x20\n");
    EXPECT_EQ(devices_.model("sda"), "SSD 1 TB SERIES XL");
    partition(add("sda1", "pci/block/sda", "8:1"));
    EXPECT_EQ(devices_.model("sda1"), "SSD 1 TB SERIES XL");
}

TEST_F(DeviceTree, HasNoModelWhereNobodyTellsOne) {
    add("loop0", "virtual/block", "7:0");
    EXPECT_FALSE(devices_.model("loop0"));
    EXPECT_FALSE(devices_.model("nosuch"));
    files_.write(add("sda", "pci/block", "8:0") + "/device/model", "   \n");
    EXPECT_FALSE(devices_.model("sda"));
}

TEST_F(DeviceTree, TakesTheLabelFromUdev) {
    add("sda1", "pci/block/sda", "8:1");
    EXPECT_FALSE(devices_.label("sda1"));
    files_.write("/run/udev/data/b8:1", "E:ID_FS_LABEL_ENC=My\\x20Disk\n");
    EXPECT_EQ(devices_.label("sda1"), "My Disk");
}

TEST_F(DeviceTree, KnowsAScsiDiskFromAnOpticalDriveAndFromOthers) {
    const std::string disk = add("sda", "pci/block", "8:0");
    files_.write(disk + "/device/type", "0\n");
    files_.write(disk + "/device/vendor", "ATA     \n");
    const std::string optical = add("sr0", "pci/block", "11:0");
    files_.write(optical + "/device/type", "5\n");
    files_.write(optical + "/device/vendor", "DVD\n");
    add("vda", "pci/block", "254:0");
    EXPECT_TRUE(devices_.isScsiDisk("sda"));
    EXPECT_FALSE(devices_.isScsiDisk("sr0"));
    EXPECT_FALSE(devices_.isScsiDisk("vda"));
}

} // namespace
} // namespace sentrel::platform
