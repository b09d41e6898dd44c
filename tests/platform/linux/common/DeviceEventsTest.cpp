// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/DeviceEvents.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(DeviceEvents, AreNewOnce) {
    const TemporaryFolder folder;
    folder.write("sys/kernel/uevent_seqnum", "100\n");
    DeviceEvents events{SystemRoot(folder.path())};
    EXPECT_TRUE(events.anyNew()) << "at first";
    EXPECT_FALSE(events.anyNew());
    folder.write("sys/kernel/uevent_seqnum", "101\n");
    EXPECT_TRUE(events.anyNew());
    EXPECT_FALSE(events.anyNew());
}

TEST(DeviceEvents, MayAlwaysBeNewWhereTheyAreNotCounted) {
    const TemporaryFolder folder;
    DeviceEvents events{SystemRoot(folder.path())};
    EXPECT_TRUE(events.anyNew());
    EXPECT_TRUE(events.anyNew());
    folder.write("sys/kernel/uevent_seqnum", "7\n");
    EXPECT_TRUE(events.anyNew());
    EXPECT_FALSE(events.anyNew());
    folder.write("sys/kernel/uevent_seqnum", "some\n");
    EXPECT_TRUE(events.anyNew());
    EXPECT_TRUE(events.anyNew());
}

} // namespace
} // namespace sentrel::platform
