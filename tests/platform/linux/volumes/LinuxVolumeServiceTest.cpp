// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>

#include "tests/platform/linux/volumes/ScriptedAtaDrive.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/CapturedProperties.h"

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/statfs.h>
#include <vector>

namespace sentrel::platform {
namespace {

class CapturedVolumes : public testing::Test {
protected:
    void setMounts(const std::string& table) { files_.write("/proc/self/mountinfo", table); }

    // A disk of the captured machine; its partitions come after it.
    void add(const std::string& name, const std::string& number, const std::string& folder, const std::string& stat) {
        const std::string device = "/sys/devices/" + folder + '/' + name;
        files_.write(device + "/dev", number + "\n");
        files_.write(device + "/stat", stat);
        files_.link("/sys/class/block/" + name, "../../devices/" + folder + '/' + name);
        files_.link("/sys/dev/block/" + number, "../../devices/" + folder + '/' + name);
    }
    void addPartition(const std::string& name, const std::string& number, const std::string& folder) {
        add(name, number, folder, "9 9 9 9 9 9 9\n");
        files_.write("/sys/devices/" + folder + '/' + name + "/partition", "1\n");
    }

    std::vector<MountedFileSystem> list() {
        const std::int32_t count = service_.countMountedFileSystems();
        std::vector<MountedFileSystem> entries(count < 0 ? 0 : static_cast<std::size_t>(count));
        EXPECT_EQ(service_.listMountedFileSystems(entries), count);
        return entries;
    }

    std::optional<DiskStatistics> statisticsOf(DiskSession& session, const std::string& device) {
        const std::shared_ptr<StorageDevice> disk = session.disk(device);
        return disk ? disk->wholeDisk()->media()->statistics() : std::nullopt;
    }

    TemporaryFolder files_;
    LinuxDispatch dispatch_;
    ScriptedAtaDrive drive_;
    LinuxVolumeService service_{capturedDevices(SystemRoot(files_.path())), dispatch_, drive_};
};

TEST_F(CapturedVolumes, FailToListWithoutAMountTable) {
    EXPECT_EQ(service_.countMountedFileSystems(), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(service_.listMountedFileSystems({}), -1);
}

TEST_F(CapturedVolumes, ListEveryMountInOrderWithItsFlags) {
    setMounts("1 0 254:0 / / rw - ext4 /dev/vda rw\n"
              "2 1 0:21 / /proc rw - proc proc rw\n"
              "3 1 0:40 / /net rw - autofs systemd-1 rw,fd=5\n"
              "4 1 254:1 / /boot rw - ext4 /dev/vda1 rw");
    const std::vector<MountedFileSystem> entries = list();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].type, "ext4");
    EXPECT_EQ(entries[0].from, "/dev/vda");
    EXPECT_EQ(entries[0].on, "/");
    EXPECT_TRUE(entries[0].isRoot);
    EXPECT_FALSE(entries[0].dontBrowse);
    struct statfs status {};
    ASSERT_EQ(::statfs("/", &status), 0);
    EXPECT_EQ(entries[0].space.blocks, status.f_blocks);
    EXPECT_EQ(entries[1].type, "proc");
    EXPECT_EQ(entries[1].space.blocks, 0U);
    EXPECT_EQ(entries[2].space.blocks, 0U); // an automount point is not even asked: that would trigger it
    EXPECT_TRUE(entries[3].dontBrowse);
}

TEST_F(CapturedVolumes, FillWhatFitsAndLeaveTheRest) {
    setMounts("1 0 254:0 / / rw - ext4 /dev/vda rw\n2 1 0:21 / /proc rw - proc proc rw\n");
    std::vector<MountedFileSystem> entries(1);
    EXPECT_EQ(service_.listMountedFileSystems(entries), 1);
    EXPECT_EQ(entries[0].on, "/");
    entries.resize(5);
    EXPECT_EQ(service_.listMountedFileSystems(entries), 2);
    EXPECT_TRUE(entries[2].type.empty());
}

TEST_F(CapturedVolumes, NameTheDeviceBehindDevRoot) {
    add("mmcblk0", "179:0", "platform/block", "0 0 0 0 0 0 0\n");
    addPartition("mmcblk0p2", "179:2", "platform/block/mmcblk0");
    setMounts("1 0 179:2 / / rw - ext4 /dev/root rw\n");
    EXPECT_EQ(list()[0].from, "/dev/mmcblk0p2");
    setMounts("1 0 179:9 / / rw - ext4 /dev/root rw\n");
    EXPECT_EQ(list()[0].from, "/dev/root");
}

TEST_F(CapturedVolumes, AcceptAnyRoot) {
    EXPECT_TRUE(service_.acceptedTypes().anyRoot);
    setMounts("1 0 0:50 / / rw - overlay overlay rw\n");
    EXPECT_GT(list()[0].space.blocks, 0U);
}

TEST_F(CapturedVolumes, CountForTheWholeDiskOfAPartition) {
    add("sda", "8:0", "pci/block", "1 0 100 0 1 0 200 0 0 0 0\n");
    addPartition("sda1", "8:1", "pci/block/sda");
    const auto session = service_.openSession();
    const auto statistics = statisticsOf(*session, "sda1");
    ASSERT_TRUE(statistics);
    EXPECT_EQ(statistics->bytesRead, 51200);
    EXPECT_EQ(statistics->bytesWritten, 102400);
    files_.write("/sys/devices/pci/block/sda/stat", "1 0 101 0 1 0 200 0 0 0 0\n");
    EXPECT_EQ(statisticsOf(*session, "sda1")->bytesRead, 51712);
}

TEST_F(CapturedVolumes, CountForAMapperDeviceByTheNameItIsMountedWith) {
    add("sda", "8:0", "pci/block", "1 0 100 0 1 0 200\n");
    add("dm-0", "252:0", "virtual/block", "1 0 7 0 1 0 8\n");
    files_.write("/sys/devices/virtual/block/dm-0/dm/name", "vg-home\n");
    files_.makeFolder("/sys/devices/virtual/block/dm-0/slaves/sda");
    const auto session = service_.openSession();
    EXPECT_EQ(statisticsOf(*session, "vg-home")->bytesWritten, 8 * 512);
}

TEST_F(CapturedVolumes, CountWhatCarriesAStackThatDoesNotCountItself) {
    add("sda", "8:0", "pci/block", "1 0 100 0 1 0 200\n");
    add("sdb", "8:16", "pci/block", "1 0 1 0 1 0 2\n");
    add("md0", "9:0", "virtual/block", "0 0 0 0 0 0 0\n");
    files_.makeFolder("/sys/devices/virtual/block/md0/slaves/sda");
    files_.makeFolder("/sys/devices/virtual/block/md0/slaves/sdb");
    const auto session = service_.openSession();
    EXPECT_EQ(statisticsOf(*session, "md0")->bytesRead, 101 * 512);
    EXPECT_EQ(statisticsOf(*session, "md0")->bytesWritten, 202 * 512);
}

TEST_F(CapturedVolumes, CountTheHiddenPathsOfAnNvmeNamespace) {
    const std::string subsystem = "virtual/nvme-subsystem/nvme-subsys0";
    add("nvme0n1", "259:0", subsystem, "0 0 0 0 0 0 0\n");
    files_.link("/sys/devices/" + subsystem + "/nvme0n1/device", "..");
    files_.write("/sys/devices/" + subsystem + "/nvme0/nvme0c0n1/stat", "1 0 10 0 1 0 20\n");
    files_.write("/sys/devices/" + subsystem + "/nvme1/nvme0c1n1/stat", "1 0 1 0 1 0 2\n");
    const auto session = service_.openSession();
    EXPECT_EQ(statisticsOf(*session, "nvme0n1")->bytesRead, 11 * 512);
    EXPECT_EQ(statisticsOf(*session, "nvme0n1")->bytesWritten, 22 * 512);
}

TEST_F(CapturedVolumes, HaveNoDiskForAShareUntilOneOfThatNameCame) {
    setMounts("1 0 254:0 / / rw - ext4 /dev/vda rw\n");
    const auto session = service_.openSession();
    EXPECT_FALSE(session->disk("home"));
    add("home", "8:0", "pci/block", "1 0 1 0 1 0 1\n");
    EXPECT_FALSE(session->disk("home")); // remembered until the mounts are listed again
    list();
    EXPECT_TRUE(session->disk("home"));
}

TEST_F(CapturedVolumes, FollowAMapperNameToItsNewDevice) {
    setMounts("1 0 254:0 / / rw - ext4 /dev/vda rw\n");
    add("dm-0", "252:0", "virtual/block", "1 0 7 0 1 0 8\n");
    files_.write("/sys/devices/virtual/block/dm-0/dm/name", "vg-home\n");
    const auto session = service_.openSession();
    EXPECT_EQ(statisticsOf(*session, "vg-home")->bytesWritten, 8 * 512);
    files_.write("/sys/devices/virtual/block/dm-0/dm/name", "other\n");
    add("dm-1", "252:1", "virtual/block", "1 0 1 0 1 0 9\n");
    files_.write("/sys/devices/virtual/block/dm-1/dm/name", "vg-home\n");
    list();
    EXPECT_EQ(statisticsOf(*session, "vg-home")->bytesWritten, 9 * 512);
}

TEST_F(CapturedVolumes, LoseTheCountersOfADiskThatWasTakenAway) {
    add("sdz", "8:99", "pci/block", "1 0 1 0 1 0 1\n");
    files_.remove("/sys/devices/pci/block/sdz/stat");
    const auto session = service_.openSession();
    EXPECT_FALSE(statisticsOf(*session, "sdz"));
}

TEST_F(CapturedVolumes, AskTheDriveUnderAStackAndNoOtherForItsHealth) {
    add("sda", "8:0", "pci/block", "1 0 1 0 1 0 1\n");
    files_.write("/sys/devices/pci/block/sda/device/type", "0\n");
    files_.write("/sys/devices/pci/block/sda/device/vendor", "ATA\n");
    addPartition("sda2", "8:2", "pci/block/sda");
    add("dm-0", "252:0", "virtual/block", "1 0 7 0 1 0 8\n");
    files_.makeFolder("/sys/devices/virtual/block/dm-0/slaves/sda2");
    add("vda", "254:0", "pci/block", "1 0 1 0 1 0 1\n");
    const auto session = service_.openSession();

    const std::shared_ptr<MediaEntry> logical = session->disk("dm-0")->media();
    EXPECT_FALSE(logical->isSmartCapable());
    const std::shared_ptr<MediaEntry> drive = logical->parent();
    ASSERT_TRUE(drive);
    EXPECT_TRUE(drive->isSmartCapable());
    EXPECT_TRUE(drive->createSmartPlugIn());
    EXPECT_FALSE(drive->parent());
    EXPECT_FALSE(session->disk("vda")->media()->isSmartCapable());
}

TEST_F(CapturedVolumes, DescribeADiskByUdevsLabelAndModel) {
    add("sda", "8:0", "pci/block", "1 0 1 0 1 0 1\n");
    addPartition("sda1", "8:1", "pci/block/sda");
    const auto session = service_.openSession();
    EXPECT_FALSE(session->disk("sda1")->description()->volumeName);
    EXPECT_FALSE(session->disk("sda1")->description()->deviceModel);
    files_.write("/run/udev/data/b8:1", "E:ID_FS_LABEL_ENC=Data\n");
    files_.write("/run/udev/data/b8:0", "E:ID_MODEL_ENC=Drive\n");
    EXPECT_EQ(session->disk("sda1")->description()->volumeName, "Data");
    EXPECT_EQ(session->disk("sda1")->description()->deviceModel, "Drive");
}

TEST_F(CapturedVolumes, HaveTheIconOfWhatTheyLieOn) {
    add("sda", "8:0", "pci/block", "1 0 1 0 1 0 1\n");
    add("sdb", "8:16", "pci/block", "1 0 1 0 1 0 1\n");
    files_.write("/sys/devices/pci/block/sdb/removable", "1\n");
    add("sr0", "11:0", "pci/block", "1 0 1 0 1 0 1\n");
    add("mmcblk0", "179:0", "pci/block", "1 0 1 0 1 0 1\n");
    setMounts("1 0 8:0 / / rw - ext4 /dev/sda rw\n"
              "2 1 8:16 / /stick rw - vfat /dev/sdb rw\n"
              "3 1 11:0 / /dvd ro - udf /dev/sr0 ro\n"
              "4 1 179:0 / /card rw - exfat /dev/mmcblk0 rw\n"
              "5 1 0:60 / /share rw - nfs4 server:/share rw\n"
              "6 1 0:61 / /memory rw - tmpfs tmpfs rw\n");
    EXPECT_EQ(service_.iconForPath("/"), Icon::named("drive-harddisk"));
    EXPECT_EQ(service_.iconForPath("/stick"), Icon::named("drive-removable-media"));
    EXPECT_EQ(service_.iconForPath("/dvd"), Icon::named("drive-optical"));
    EXPECT_EQ(service_.iconForPath("/card"), Icon::named("media-flash"));
    EXPECT_EQ(service_.iconForPath("/share"), Icon::named("folder-remote"));
    EXPECT_FALSE(service_.iconForPath("/memory"));
}

TEST_F(CapturedVolumes, MeasureAPathThatIsNoMountPoint) {
    setMounts("1 0 254:0 / / rw - ext4 /dev/vda rw\n");
    const auto space = service_.space("/usr");
    ASSERT_TRUE(space);
    EXPECT_GT(space->blocks, 0U);
    EXPECT_FALSE(service_.space("/no/such/path"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(CapturedVolumes, TellNothingWithoutAMountTableToWatch) {
    EXPECT_FALSE(service_.observe([](const VolumeNotification&) {}));
}

TEST_F(CapturedVolumes, TellWhatEachDeviceOfTheTableIs) {
    add("sda", "8:0", "ata1", "1 1 1 1 1 1 1\n");
    files_.write("/sys/devices/ata1/sda/removable", "0\n");
    files_.write("/sys/devices/ata1/sda/ro", "0\n");
    files_.write("/sys/devices/ata1/sda/queue/rotational", "1\n");
    files_.write("/sys/devices/ata1/sda/device/model", "PLATTERS 4000  \n");
    files_.write("/sys/devices/ata1/sda/size", "1000\n");
    addPartition("sda1", "8:1", "ata1/sda");
    files_.write("/sys/devices/ata1/sda/sda1/ro", "1\n");
    add("dm-0", "253:0", "virtual", "0 0 0 0 0 0 0\n");
    files_.write("/sys/devices/virtual/dm-0/dm/name", "vg-home\n");
    files_.write("/proc/diskstats", "8 0 sda 1 2 3 4 5 6 7 8 9 10 11\n8 1 sda1 1 2 3 4 5 6 7 8 9 10 11\n"
                                    "253 0 dm-0 1 2 3 4 5 6 7 8 9 10 11\n");
    std::vector<DiskDevice> devices;
    ASSERT_EQ(service_.diskDevices(devices), Availability::available);
    ASSERT_EQ(devices.size(), 3U);
    EXPECT_EQ(devices[0].name, "sda");
    EXPECT_EQ(devices[0].whole, "sda");
    EXPECT_EQ(devices[0].model, "PLATTERS 4000");
    EXPECT_EQ(devices[0].size, 512'000);
    EXPECT_EQ(devices[0].removable, false);
    EXPECT_EQ(devices[0].readOnly, false);
    EXPECT_EQ(devices[0].rotational, true);
    EXPECT_EQ(devices[1].name, "sda1");
    EXPECT_EQ(devices[1].whole, "sda");
    EXPECT_EQ(devices[1].model, "PLATTERS 4000");
    EXPECT_EQ(devices[1].readOnly, true);
    EXPECT_EQ(devices[1].rotational, true) << "its disk's";
    EXPECT_EQ(devices[1].size, std::nullopt);
    EXPECT_EQ(devices[2].alias, "vg-home");
    EXPECT_EQ(devices[2].removable, std::nullopt);
}

TEST_F(CapturedVolumes, WithoutTheTableTellNothingOfDisks) {
    std::vector<DiskOperations> disks(1);
    std::vector<DiskDevice> devices(1);
    EXPECT_EQ(service_.diskOperations(disks), Availability::unsupported);
    EXPECT_EQ(service_.diskDevices(devices), Availability::unsupported);
    EXPECT_EQ(disks.size() + devices.size(), 2U);
}

TEST_F(CapturedVolumes, ReadATableOfAThousandDisksWhole) {
    std::string table;
    for (int disk = 0; disk < 1000; ++disk)
        table += "8 " + std::to_string(disk) + " sd" + std::to_string(disk) + " 1 2 3 4 5 6 7 8 9 10 11\n";
    files_.write("/proc/diskstats", table);
    std::vector<DiskOperations> disks;
    EXPECT_EQ(service_.diskOperations(disks), Availability::available);
    ASSERT_EQ(disks.size(), 1000U);
    EXPECT_EQ(disks[999].name, "sd999");
}

} // namespace
} // namespace sentrel::platform
