// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/ClassFolder.h>

#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/loop.h>
#include <sys/ioctl.h>

namespace sentrel::platform {
namespace {

// The kernel tells of a device when it stands in its folder, and no later than it is gone from there.
TEST(ClassFolderLive, HasADeviceAsSoonAsItWasMadeAndNoLongerWhenItWasRemoved) {
    const UniqueFd control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    if (!control)
        GTEST_SKIP() << "no loop devices can be made";
    ClassFolder devices(SystemRoot(), "/sys/class/block");
    for (int round = 0; round < 3; ++round) {
        (void)devices.hasChanged();
        const int number = ::ioctl(control.get(), LOOP_CTL_ADD, 4000 + round);
        if (number < 0)
            GTEST_SKIP() << "no loop devices can be made";
        EXPECT_TRUE(devices.hasChanged()) << "made";
        EXPECT_EQ(::ioctl(control.get(), LOOP_CTL_REMOVE, number), 0);
        EXPECT_TRUE(devices.hasChanged()) << "removed";
    }
}

} // namespace
} // namespace sentrel::platform
