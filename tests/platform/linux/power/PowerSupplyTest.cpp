// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerSupply.h>

#include "tests/platform/linux/power/PowerDevices.h"
#include "tests/support/linux/PowerMachine.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace sentrel::platform {
namespace {

TEST(PowerSupplies, CountAsBatteriesOnlyIfTheyRunTheMachine) {
    EXPECT_EQ(supplies({{{"type", "Battery"}}}).batteries.size(), 1u);
    EXPECT_EQ(supplies({{{"type", "Battery"}, {"scope", "System"}}}).batteries.size(), 1u);
    EXPECT_EQ(supplies({{{"type", "Battery"}, {"scope", "Unknown"}}}).batteries.size(), 1u);
    for (const Attributes& other :
         {Attributes{{"type", "Battery"}, {"scope", "Device"}}, Attributes{{"type", "UPS"}},
          Attributes{{"type", "Unknown"}}, Attributes{{"type", ""}}, Attributes{{"online", "1"}}, Attributes{}}) {
        const PowerSupplies result = supplies({other});
        EXPECT_TRUE(result.batteries.empty());
        EXPECT_TRUE(result.adapters.empty());
    }
}

TEST(PowerSupplies, CountAsAdaptersByTheirType) {
    for (const char* type : {"Mains", "Wireless", "BrickID", "USB", "USB_DCP", "USB_C", "USB_PD"})
        EXPECT_EQ(supplies({{{"type", type}}}).adapters.size(), 1u) << type;
    EXPECT_TRUE(supplies({{{"type", "USB"}, {"scope", "Device"}}}).adapters.empty());
}

TEST(PowerSupplies, HaveNoFigureWhereTheDriverHasNone) {
    for (const char* value :
         {"0", "-1", "-1000", "65535", "65535000", "2147483647", "2147483648", "99999999999999999999", "-2147483648",
          "", "4000000 uAh", "0x10", "4.2", "+5", "nan", "4000000\n4000000", "(null)"}) {
        const Attributes attributes = battery({{"charge_now", value},
                                               {"charge_full", value},
                                               {"charge_full_design", value},
                                               {"energy_now", value},
                                               {"energy_full", value},
                                               {"energy_full_design", value},
                                               {"voltage_now", value},
                                               {"voltage_min_design", value},
                                               {"time_to_empty_now", value},
                                               {"time_to_full_now", value},
                                               {"cycle_count", value}});
        const PowerSupplies result = supplies({attributes});
        const BatterySupply& supply = result.batteries.at(0);
        EXPECT_FALSE(supply.chargeNow) << value;
        EXPECT_FALSE(supply.chargeFull) << value;
        EXPECT_FALSE(supply.chargeDesign) << value;
        EXPECT_FALSE(supply.energyNow) << value;
        EXPECT_FALSE(supply.energyFull) << value;
        EXPECT_FALSE(supply.energyDesign) << value;
        EXPECT_FALSE(supply.voltage) << value;
        EXPECT_FALSE(supply.voltageDesign) << value;
        EXPECT_FALSE(supply.timeToEmpty) << value;
        EXPECT_FALSE(supply.timeToFull) << value;
        EXPECT_FALSE(supply.cycles) << value;
    }
}

TEST(PowerSupplies, KeepTheSizeOfACurrentAndAPowerOfEitherSign) {
    for (const char* value : {"1500000", "-1500000"}) {
        const PowerSupplies result = supplies({battery({{"current_now", value}, {"power_now", value}})});
        EXPECT_EQ(result.batteries.at(0).current, 1500000.0) << value;
        EXPECT_EQ(result.batteries.at(0).power, 1500000.0) << value;
    }
    for (const char* value : {"0", "-1000", "65535", "2147483647", "-2147483648", "none"}) {
        const PowerSupplies result = supplies({battery({{"current_now", value}, {"power_now", value}})});
        EXPECT_FALSE(result.batteries.at(0).current) << value;
        EXPECT_FALSE(result.batteries.at(0).power) << value;
    }
}

TEST(PowerSupplies, FallBackToTheAverageWhereTheMomentIsMissing) {
    const PowerSupplies result = supplies({battery({{"charge_avg", "1"},
                                                    {"energy_avg", "2"},
                                                    {"current_now", "0"},
                                                    {"current_avg", "-3"},
                                                    {"power_avg", "4"},
                                                    {"voltage_avg", "5"},
                                                    {"time_to_empty_avg", "6"},
                                                    {"time_to_full_avg", "7"}})});
    const BatterySupply& supply = result.batteries.at(0);
    EXPECT_EQ(supply.chargeNow, 1.0);
    EXPECT_EQ(supply.energyNow, 2.0);
    EXPECT_EQ(supply.current, 3.0);
    EXPECT_EQ(supply.power, 4.0);
    EXPECT_EQ(supply.voltage, 5.0);
    EXPECT_EQ(supply.timeToEmpty, 6.0);
    EXPECT_EQ(supply.timeToFull, 7.0);
}

TEST(PowerSupplies, TakeTheirPercentFromTheCapacityElseFromItsLevel) {
    const std::pair<Attributes, std::optional<double>> cases[] = {
        {{{"capacity", "0"}, {"capacity_level", "Full"}}, 0.0},
        {{{"capacity", "100"}}, 100.0},
        {{{"capacity", "101"}, {"capacity_level", "Full"}}, 100.0},
        {{{"capacity", "-1"}, {"capacity_level", "High"}}, 80.0},
        {{{"capacity_level", "Normal"}}, 55.0},
        {{{"capacity_level", "Low"}}, 15.0},
        {{{"capacity_level", "Critical"}}, 5.0},
        {{{"capacity_level", "Unknown"}}, std::nullopt},
        {{}, std::nullopt}};
    for (const auto& [attributes, percent] : cases)
        EXPECT_EQ(supplies({battery(attributes)}).batteries.at(0).percent, percent);
}

TEST(PowerSupplies, HaveAHealthOnlyIfItIsAWord) {
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"Good", "Good"},   {"Over voltage", "Over voltage"}, {"Unknown", std::nullopt},
        {"", std::nullopt}, {"\xC3\x28", std::nullopt},       {"Go\nod", std::nullopt}};
    for (const auto& [text, health] : cases)
        EXPECT_EQ(supplies({battery({{"health", text}})}).batteries.at(0).health, health) << text;
    EXPECT_FALSE(supplies({battery({{"health", std::string(65, 'x')}})}).batteries.at(0).health);
}

TEST(PowerSupplyFolder, IsReadInTheOrderOfTheNames) {
    const PowerSupplyTree tree;
    for (const char* name : {"BAT1", "CMB0", "BAT0"})
        tree.set(name, "type", "Battery\n");
    const PowerSupplies result = readPowerSupplies(tree.root());
    ASSERT_EQ(result.batteries.size(), 3u);
    EXPECT_EQ(result.batteries[0].name, "BAT0");
    EXPECT_EQ(result.batteries[1].name, "BAT1");
    EXPECT_EQ(result.batteries[2].name, "CMB0");
}

} // namespace
} // namespace sentrel::platform
