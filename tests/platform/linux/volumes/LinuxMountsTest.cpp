// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>

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
    const SystemRoot root(files.path());
    const BlockDevices devices(root);
    const auto mounts = readMountTable(root);
    ASSERT_TRUE(mounts);
    EXPECT_EQ(labelOfDevice(devices, *mounts, "loop0"), std::nullopt);
    EXPECT_EQ(labelOfDevice(devices, *mounts, "loop1"), "PHOTOS");
}

} // namespace
} // namespace sentrel::platform
