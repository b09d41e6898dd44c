// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <cerrno>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(ScriptedClock, FailsToReadTheWallClockWhereThatIsScripted) {
    ScriptedPlatform machine;
    machine.clock().calls.fail("read", {.call = 2, .error = EFAULT});
    WallClockReading reading;
    EXPECT_TRUE(machine.clock().read(reading));
    EXPECT_EQ(reading.seconds, 1'500'000'000);
    EXPECT_FALSE(machine.clock().read(reading));
    EXPECT_EQ(errno, EFAULT);
}

} // namespace
} // namespace sentrel::platform
