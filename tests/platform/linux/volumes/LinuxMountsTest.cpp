// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/CapturedProperties.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

// Reading the label of a loop device whose image lies on a share that was gone waited for ever.
TEST(LinuxMounts, AskNoLoopDeviceForItsLabelWhoseFileLiesWhereNobodyMayAnswer) {
    const TemporaryFolder files;
    files.write("/proc/self/mountinfo", "1 0 254:0 / / rw - ext4 /dev/vda rw\n"
                                        "2 1 0:40 / /net rw - nfs4 server:/images rw\n"
                                        "3 1 7:0 / /media/one rw - vfat /dev/loop0 rw\n"
                                        "4 1 7:1 / /media/two rw - vfat /dev/loop1 rw\n");
    const auto add = [&files](const std::string& name, const std::string& number, const std::string& image) {
        files.write("/sys/devices/" + name + "/dev", number + "\n");
        files.write("/sys/devices/" + name + "/loop/backing_file", image + "\n");
        files.link("/sys/class/block/" + name, "../../devices/" + name);
        files.write("/run/udev/data/b" + number, "E:ID_FS_LABEL_ENC=PHOTOS\n");
    };
    add("loop0", "7:0", "/net/one.img");
    add("loop1", "7:1", "/images/two.img");
    const BlockDevices devices = capturedDevices(SystemRoot(files.path()));
    const MountSnapshot mounts = Mounts(devices).current();
    ASSERT_TRUE(mounts);
    EXPECT_EQ(labelOfDevice(devices, *mounts, "loop0"), std::nullopt);
    EXPECT_EQ(labelOfDevice(devices, *mounts, "loop1"), "PHOTOS");
}

// Nobody tells of changes to a captured file.
TEST(LinuxMounts, AreReadEachTimeWhereNobodyTellsOfChanges) {
    const TemporaryFolder files;
    const BlockDevices devices{SystemRoot(files.path())};
    Mounts mounts(devices);
    EXPECT_FALSE(mounts.current());
    EXPECT_EQ(errno, ENOENT);
    files.write("/proc/self/mountinfo", "1 0 254:0 / / rw - ext4 /dev/vda rw\n");
    const MountSnapshot before = mounts.current();
    ASSERT_TRUE(before);
    EXPECT_EQ(before->size(), 1U);
    files.write("/proc/self/mountinfo", "1 0 254:0 / / rw - ext4 /dev/vda rw\n2 1 0:40 / /m rw - tmpfs t rw\n");
    EXPECT_EQ(mounts.latest(), before);
    EXPECT_EQ(mounts.current()->size(), 2U);
    EXPECT_EQ(before->size(), 1U);
    files.remove("/proc/self/mountinfo");
    EXPECT_FALSE(mounts.current());
}

TEST(LinuxMounts, KnowTheirDevicesAndWhichOfThemAreVolumes) {
    const TemporaryFolder files;
    files.link("/sys/dev/block/254:0", "../../devices/vda");
    files.write("/proc/self/mountinfo", "1 0 254:0 / / rw - ext4 /dev/root rw\n"
                                        "2 1 0:40 / /m rw - tmpfs t rw\n"
                                        "3 1 254:0 /part /bound rw - ext4 /dev/root rw\n");
    const BlockDevices devices{SystemRoot(files.path())};
    const MountSnapshot mounts = Mounts(devices).current();
    ASSERT_TRUE(mounts);
    EXPECT_EQ(mounts->at(0).device, "vda");
    EXPECT_EQ(mountSource(mounts->at(0)), "/dev/vda");
    EXPECT_EQ(mounts->at(1).device, "");
    EXPECT_TRUE(mounts->at(0).isVolume);
    EXPECT_FALSE(mounts->at(1).isVolume) << "a type that is not shown";
    EXPECT_FALSE(mounts->at(2).isVolume) << "a view of a part";
    EXPECT_EQ(mountOfDevice(*mounts, "vda"), &mounts->at(0));
    EXPECT_EQ(mountOfDevice(*mounts, "vdb"), nullptr);
}

TEST(LinuxMounts, AskForTheModelBehindAVolumeOnceWhileItIsMounted) {
    const TemporaryFolder files;
    files.link("/sys/dev/block/8:0", "../../devices/sda");
    files.link("/sys/dev/block/8:16", "../../devices/sdb");
    std::vector<std::string> asked;
    const BlockDevices devices(SystemRoot(files.path()), [&asked](const std::string& disk, const char*) {
        asked.push_back(disk);
        return std::optional<std::string>("Drive " + disk);
    });
    Mounts mounts(devices);
    const std::string root = "1 0 8:0 / / rw - ext4 /dev/sda rw\n";
    files.write("/proc/self/mountinfo", root);
    EXPECT_EQ(mounts.current()->at(0).model, "Drive sda");
    files.write("/proc/self/mountinfo", root + "2 1 8:16 / /m rw - ext4 /dev/sdb rw\n");
    EXPECT_EQ(mounts.current()->at(0).model, "Drive sda");
    EXPECT_EQ(mounts.current()->at(1).model, "Drive sdb");
    EXPECT_EQ(asked, (std::vector<std::string>{"sda", "sdb"}));
    files.write("/proc/self/mountinfo", root);
    static_cast<void>(mounts.current());
    files.write("/proc/self/mountinfo", root + "2 1 8:16 / /m rw - ext4 /dev/sdb rw\n");
    static_cast<void>(mounts.current());
    EXPECT_EQ(asked, (std::vector<std::string>{"sda", "sdb", "sdb"})) << "another disk may have come in its place";
}

} // namespace
} // namespace sentrel::platform
