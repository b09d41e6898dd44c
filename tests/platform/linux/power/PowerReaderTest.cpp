// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerReader.h>

#include <SentrelKit/platform/linux/power/LinuxPowerService.h>

#include "tests/support/linux/PowerMachine.h"

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(PowerReader, KeepsTheBayOfABatteryThatIsPulled) {
    const PowerSupplyTree tree("charge-laptop");
    LinuxPowerService service(tree.root());
    EXPECT_EQ(service.batteryService()->property("BatteryInstalled"), PropertyList(true));
    tree.remove("BAT0");
    ASSERT_TRUE(service.batteryService());
    EXPECT_EQ(service.batteryService()->property("BatteryInstalled"), PropertyList(false));
    EXPECT_EQ(service.powerSources()->count(), 1u);
    EXPECT_FALSE(LinuxPowerService(tree.root()).batteryService()) << "a bay that never held one is not known";
}

} // namespace
} // namespace sentrel::platform
