// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/ClassFolder.h>

#include "tests/support/TemporaryFolder.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(ClassFolder, ChangesWithTheDevicesInIt) {
    const TemporaryFolder folder;
    ClassFolder devices(SystemRoot(folder.path()), "/sys/class/some");
    EXPECT_TRUE(devices.hasChanged()) << "at first";
    EXPECT_FALSE(devices.hasChanged()) << "still none";
    folder.makeFolder("sys/class/some/device0");
    EXPECT_TRUE(devices.hasChanged());
    EXPECT_FALSE(devices.hasChanged());
    folder.write("sys/class/some/device0/name", "a\n");
    EXPECT_FALSE(devices.hasChanged()) << "what is below is not looked at";
    folder.makeFolder("sys/class/some/device1");
    EXPECT_TRUE(devices.hasChanged());
    folder.remove("sys/class/some/device0");
    EXPECT_TRUE(devices.hasChanged());
    EXPECT_FALSE(devices.hasChanged());
}

TEST(ClassFolder, TellsADeviceFromOneThatTookItsName) {
    const TemporaryFolder folder;
    folder.makeFolder("sys/class/some/device0");
    ClassFolder devices(SystemRoot(folder.path()), "/sys/class/some");
    EXPECT_TRUE(devices.hasChanged());
    folder.makeFolder("sys/class/some/device1");
    EXPECT_TRUE(devices.hasChanged());
    // Both are there at once, so that the second has an inode of its own.
    folder.remove("sys/class/some/device0");
    ASSERT_EQ(std::rename(folder.path("sys/class/some/device1").c_str(), folder.path("sys/class/some/device0").c_str()),
              0);
    EXPECT_TRUE(devices.hasChanged());
}

TEST(ClassFolder, IsListedOnlyAfterTheKernelToldOfADevice) {
    const TemporaryFolder folder;
    folder.write("sys/kernel/uevent_seqnum", "100\n");
    ClassFolder devices(SystemRoot(folder.path()), "/sys/class/some");
    EXPECT_TRUE(devices.hasChanged());
    folder.makeFolder("sys/class/some/device0");
    EXPECT_FALSE(devices.hasChanged()) << "nothing was told of it yet";
    folder.write("sys/kernel/uevent_seqnum", "101\n");
    EXPECT_TRUE(devices.hasChanged());
    folder.write("sys/kernel/uevent_seqnum", "102\n");
    EXPECT_FALSE(devices.hasChanged()) << "of a device elsewhere";
}

} // namespace
} // namespace sentrel::platform
