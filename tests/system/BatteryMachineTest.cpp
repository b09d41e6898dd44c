// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PowerMachine.h"
#include "tests/support/TimeZone.h"

#include <gtest/gtest.h>

namespace sentrel {
namespace {

constexpr std::int64_t noonOf13March2024 = 1'710'331'200;

class BatteryMachine : public testing::TestWithParam<const char*> {};

TEST_P(BatteryMachine, ShowsTheFiguresWorkedOutByHand) {
    const TimeZone utc("UTC");
    const PowerSupplyTree tree(GetParam());
    PowerMachine machine(tree.root());
    machine.scripted().clock().setWallMicroseconds(noonOf13March2024 * 1'000'000);
    EXPECT_EQ(batteryFigures(), expectedBatteryFigures(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Captured, BatteryMachine, testing::ValuesIn(powerMachines), [](const auto& machine) {
    std::string name = machine.param;
    std::erase(name, '-');
    return name;
});

TEST(BatteryMachines, WithoutTheKernelsFolderHaveNoBattery) {
    const TemporaryFolder nothing;
    const PowerMachine machine{platform::SystemRoot(nothing.path())};
    EXPECT_EQ(batteryFigures(), expectedBatteryFigures("mouse-desktop"));
}

} // namespace
} // namespace sentrel
