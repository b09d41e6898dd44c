// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/scripted/ScriptedMachine.h>

#include "tests/support/TimeZone.h"
#include "tests/support/linux/PowerMachine.h"

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(LinuxPowerService, AnswersThroughTheSeam) {
    const PowerSupplyTree tree("two-batteries");
    LinuxPowerService service(tree.root());
    const auto sources = service.powerSources();
    ASSERT_TRUE(sources);
    EXPECT_EQ(sources->count(), 2u);
    EXPECT_TRUE(sources->description(1));
    EXPECT_FALSE(sources->description(2));
    EXPECT_FALSE(service.externalAdapterDetails());
    const auto battery = service.batteryService();
    ASSERT_TRUE(battery);
    EXPECT_EQ(battery->property("CycleCount"), PropertyList(54));
    EXPECT_FALSE(battery->property("DesignCycleCount9C"));
    EXPECT_FALSE(battery->property("no such key"));
}

TEST(LinuxPowerService, KnowsNothingWithoutPowerSupplies) {
    const TemporaryFolder nothing;
    LinuxPowerService service{SystemRoot(nothing.path())};
    const auto sources = service.powerSources();
    ASSERT_TRUE(sources);
    EXPECT_EQ(sources->count(), 0u);
    EXPECT_FALSE(service.externalAdapterDetails());
    EXPECT_FALSE(service.batteryService());
}

constexpr std::int64_t noonOf13March2024 = 1'710'331'200;

class BatteryMachine : public testing::TestWithParam<const char*> {};

TEST_P(BatteryMachine, ShowsTheFiguresWorkedOutByHand) {
    const TimeZone utc("UTC");
    const PowerSupplyTree tree(GetParam());
    platform::LinuxPowerService power(tree.root());
    ScriptedMachine machine({.power = &power});
    machine->clock().setWallMicroseconds(noonOf13March2024 * 1'000'000);
    EXPECT_EQ(batteryFigures(), expectedBatteryFigures(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Captured, BatteryMachine, testing::ValuesIn(powerMachines), [](const auto& machine) {
    std::string name = machine.param;
    std::erase(name, '-');
    return name;
});

TEST(BatteryMachines, WithoutTheKernelsFolderHaveNoBattery) {
    const TemporaryFolder nothing;
    platform::LinuxPowerService power{platform::SystemRoot(nothing.path())};
    const ScriptedMachine machine({.power = &power});
    EXPECT_EQ(batteryFigures(), expectedBatteryFigures("mouse-desktop"));
}

} // namespace
} // namespace sentrel::platform
