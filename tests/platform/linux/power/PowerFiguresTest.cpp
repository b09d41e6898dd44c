// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include "tests/support/PowerMachine.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace sentrel::platform {
namespace {

using Attributes = std::map<std::string, std::string>;

PowerSupplies supplies(std::initializer_list<Attributes> devices) {
    PowerSupplies result;
    int number = 0;
    for (const Attributes& device : devices)
        addPowerSupply(result, "device" + std::to_string(number++),
                       [&](const char* name) -> std::optional<std::string> {
                           const auto attribute = device.find(name);
                           return attribute == device.end() ? std::nullopt : std::optional(attribute->second);
                       });
    return result;
}

PowerFigures figures(std::initializer_list<Attributes> devices) {
    return powerFigures(supplies(devices));
}

Attributes battery(const Attributes& more) {
    Attributes attributes{{"type", "Battery"}};
    attributes.insert(more.begin(), more.end());
    return attributes;
}

Attributes mains(const char* online) {
    return {{"type", "Mains"}, {"online", online}};
}

// One figure of a single battery that discharges, as a number, or nothing where it is missing.
std::optional<double> number(const PropertyList::Dictionary& figures, const char* key) {
    const auto entry = figures.find(key);
    if (entry == figures.end())
        return std::nullopt;
    if (const auto* whole = entry->second.as<std::int64_t>())
        return static_cast<double>(*whole);
    const auto* real = entry->second.as<double>();
    return real ? std::optional(*real) : std::nullopt;
}

std::optional<double> described(const Attributes& attributes, const char* key) {
    return number(figures({battery(attributes)}).sources.at(0), key);
}

std::optional<double> property(const Attributes& attributes, const char* key) {
    return number(figures({battery(attributes)}).battery.value(), key);
}

std::optional<bool> flag(const PropertyList::Dictionary& figures, const char* key) {
    const auto entry = figures.find(key);
    const bool* value = entry == figures.end() ? nullptr : entry->second.as<bool>();
    return value ? std::optional(*value) : std::nullopt;
}

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

TEST(PowerFigures, OfABatteryThatCountsChargeNeedNoVoltage) {
    const Attributes attributes{
        {"charge_now", "2730400"}, {"charge_full", "3900500"}, {"charge_full_design", "4000000"}};
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 2730);
    EXPECT_EQ(property(attributes, "MaxCapacity"), 3901); // 3900.5
    EXPECT_EQ(property(attributes, "DesignCapacity"), 4000);
    EXPECT_EQ(described(attributes, "Current Capacity"), 2730400);
    EXPECT_EQ(described(attributes, "Max Capacity"), 3900500);
}

TEST(PowerFigures, OfABatteryThatCountsEnergyComeThroughItsDesignVoltage) {
    Attributes attributes{{"energy_now", "22200000"}, {"energy_full", "44400000"}, {"voltage_now", "7400000"}};
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 3000); // at 7.4 V, for lack of a design voltage
    attributes["voltage_max_design"] = "12000000";
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 1850);
    attributes["voltage_min_design"] = "11100000";
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 2000);
    EXPECT_EQ(property(attributes, "MaxCapacity"), 4000);
    EXPECT_EQ(described(attributes, "Current Capacity"), 22200000);
    EXPECT_EQ(described(attributes, "Max Capacity"), 44400000);
}

TEST(PowerFigures, OfEnergyWithoutAnyVoltageAreNoCharge) {
    const Attributes attributes{{"energy_now", "22200000"}, {"energy_full", "44400000"}};
    EXPECT_FALSE(property(attributes, "CurrentCapacity"));
    EXPECT_EQ(described(attributes, "Max Capacity"), 44400000);
}

TEST(PowerFigures, FallBackToTheDriversPercent) {
    const Attributes attributes{{"capacity", "62"}, {"charge_full", "8000000"}};
    EXPECT_EQ(described(attributes, "Current Capacity"), 62);
    EXPECT_EQ(described(attributes, "Max Capacity"), 100);
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 4960);
    EXPECT_FALSE(property({{"capacity", "62"}}, "CurrentCapacity"));
}

TEST(PowerFigures, OfAFreshBatteryStayWithinItsFullCharge) {
    const Attributes attributes{{"charge_now", "4080000"}, {"charge_full", "4000000"}};
    EXPECT_EQ(described(attributes, "Current Capacity"), 4000000);
    EXPECT_EQ(property(attributes, "CurrentCapacity"), 4080);
}

TEST(PowerFigures, GiveTheCurrentTheSignOfTheStatusWhateverTheDriversHabit) {
    const std::pair<const char*, int> cases[] = {
        {"Discharging", -1500}, {"Charging", 1500}, {"Full", 1500}, {"Not charging", 1500}};
    for (const auto& [status, current] : cases)
        for (const char* driver : {"1500000", "-1500000"})
            EXPECT_EQ(described({{"status", status}, {"current_now", driver}}, "Current"), current)
                << status << " " << driver;
}

TEST(PowerFigures, DeriveTheCurrentFromThePowerWhereItIsMissing) {
    Attributes attributes{{"status", "Discharging"}, {"power_now", "12210000"}, {"voltage_min_design", "11100000"}};
    EXPECT_EQ(described(attributes, "Current"), -1100);
    attributes["voltage_now"] = "12210000";
    EXPECT_EQ(described(attributes, "Current"), -1000);
    EXPECT_FALSE(described({{"power_now", "12210000"}}, "Current"));
}

TEST(PowerFigures, CountABatteryOfUnknownStatusAsDischargingUnlessAnAdapterIsConnected) {
    const Attributes unknown = battery({{"status", "Unknown"}, {"current_now", "1500000"}});
    EXPECT_EQ(number(figures({unknown}).sources.at(0), "Current"), -1500);
    EXPECT_EQ(number(figures({unknown, mains("0")}).sources.at(0), "Current"), -1500);
    EXPECT_EQ(number(figures({unknown, mains("1")}).sources.at(0), "Current"), 1500);
}

TEST(PowerFigures, TakeTheTimeFromTheDriver) {
    const Attributes attributes{{"time_to_empty_now", "7229"},
                                {"time_to_full_now", "90"},
                                {"charge_now", "1000000"},
                                {"charge_full", "2000000"},
                                {"current_now", "100000"}};
    Attributes discharging = attributes;
    discharging["status"] = "Discharging";
    EXPECT_EQ(described(discharging, "Time to Empty"), 120);
    EXPECT_EQ(described(discharging, "Time to Full Charge"), 0);
    Attributes charging = attributes;
    charging["status"] = "Charging";
    EXPECT_EQ(described(charging, "Time to Empty"), 0);
    EXPECT_EQ(described(charging, "Time to Full Charge"), 2); // 1.5 minutes
}

TEST(PowerFigures, EstimateTheTimeFromWhatIsLeftAndTheRate) {
    struct Case {
        Attributes attributes;
        int toEmpty, toFull;
    };
    const Case cases[] = {
        {{{"charge_now", "1000000"}, {"charge_full", "3000000"}, {"current_now", "500000"}}, 120, 240},
        {{{"energy_now", "10000000"}, {"energy_full", "30000000"}, {"power_now", "10000000"}}, 60, 120},
        // Energy and a current: 10 Wh at 10 V are 1 Ah.
        {{{"energy_now", "10000000"},
          {"energy_full", "30000000"},
          {"current_now", "500000"},
          {"voltage_min_design", "10000000"}},
         120,
         240},
        // Charge and a power: 5 W at 10 V are 0.5 A.
        {{{"charge_now", "1000000"}, {"charge_full", "3000000"}, {"power_now", "5000000"}, {"voltage_now", "10000000"}},
         120,
         240},
        {{{"capacity", "25"}, {"charge_full", "4000000"}, {"current_now", "500000"}}, 120, 360},
        // The driver says that it does not know.
        {{{"time_to_empty_now", "3932100"},
          {"time_to_full_now", "0"},
          {"charge_now", "1000000"},
          {"charge_full", "3000000"},
          {"current_now", "500000"}},
         120,
         240},
        {{{"charge_now", "3100000"}, {"charge_full", "3000000"}, {"current_now", "310000"}}, 600, 0},
        {{{"charge_now", "1000000"}, {"current_now", "500000"}}, 120, -1},
        {{{"charge_now", "1000000"}, {"charge_full", "3000000"}}, -1, -1},
        // The gauge's noise is no rate.
        {{{"charge_now", "1000000"}, {"charge_full", "3000000"}, {"current_now", "9999"}}, -1, -1},
        {{{"charge_now", "1000000"}, {"charge_full", "3000000"}, {"current_now", "10000"}}, 6000, 12000},
        {{{"energy_now", "10000000"}, {"energy_full", "30000000"}, {"power_now", "99999"}}, -1, -1},
        // No battery lasts 65535 minutes.
        {{{"charge_now", "2000000000"}, {"charge_full", "2000000001"}, {"current_now", "10000"}}, -1, 0},
        {{{"current_now", "500000"}}, -1, -1}};
    for (Case example : cases) {
        std::string text;
        for (const auto& [name, value] : example.attributes)
            text.append(name).append("=").append(value).append(" ");
        example.attributes["status"] = "Discharging";
        EXPECT_EQ(described(example.attributes, "Time to Empty"), example.toEmpty) << text;
        example.attributes["status"] = "Charging";
        EXPECT_EQ(described(example.attributes, "Time to Full Charge"), example.toFull) << text;
    }
}

TEST(PowerFigures, HaveNoTimeWhileTheBatteryRests) {
    for (const char* status : {"Full", "Not charging"}) {
        const Attributes attributes{{"status", status}, {"time_to_empty_now", "600"}, {"time_to_full_now", "600"}};
        EXPECT_EQ(described(attributes, "Time to Empty"), 0) << status;
        EXPECT_EQ(described(attributes, "Time to Full Charge"), 0) << status;
    }
}

TEST(PowerFigures, FlagWhatTheStatusSays) {
    struct Case {
        const char* status;
        bool charged, charging;
    };
    for (const Case& example :
         {Case{"Full", true, false}, Case{"Charging", false, true}, Case{"Discharging", false, false},
          Case{"Not charging", false, false}, Case{"charging", false, false}, Case{"", false, false}}) {
        const PowerFigures result = figures({battery({{"status", example.status}})});
        EXPECT_EQ(flag(result.sources.at(0), "Is Charged"), example.charged) << example.status;
        EXPECT_EQ(flag(result.sources.at(0), "Is Charging"), example.charging) << example.status;
        EXPECT_EQ(flag(*result.battery, "IsCharging"), example.charging) << example.status;
    }
}

TEST(PowerFigures, TellWhetherAnAdapterIsConnected) {
    struct Case {
        const char* name;
        PowerFigures figures;
        std::optional<bool> connected;
    };
    const Attributes discharging = battery({{"status", "Discharging"}});
    const Attributes charging = battery({{"status", "Charging"}});
    const Case cases[] = {{"offline", figures({charging, mains("0")}), false},
                          {"online", figures({discharging, mains("1")}), true},
                          {"programmable", figures({discharging, mains("2")}), true},
                          {"one of two", figures({discharging, mains("0"), mains("1")}), true},
                          {"garbage", figures({charging, mains("yes")}), false},
                          {"none, discharging", figures({discharging}), false},
                          {"none, charging", figures({charging}), true},
                          {"none, full", figures({battery({{"status", "Full"}})}), true},
                          {"none, held", figures({battery({{"status", "Not charging"}})}), true},
                          {"none, unknown", figures({battery({})}), std::nullopt}};
    for (const Case& example : cases)
        EXPECT_EQ(flag(*example.figures.battery, "ExternalConnected"), example.connected) << example.name;
}

TEST(PowerFigures, TellTheWattsOfTheStrongestAdapterOnline) {
    const auto usb = [](const char* online, const char* voltage, const char* current) {
        return Attributes{{"type", "USB"}, {"online", online}, {"voltage_now", voltage}, {"current_max", current}};
    };
    EXPECT_EQ(number(figures({usb("1", "20000000", "3250000")}).adapter.value(), "Watts"), 65);
    EXPECT_EQ(number(figures({usb("1", "5000000", "500000"), usb("1", "9000000", "3000000"), mains("1"),
                              usb("0", "20000000", "5000000")})
                         .adapter.value(),
                     "Watts"),
              27);
    EXPECT_FALSE(figures({usb("0", "20000000", "5000000"), mains("0")}).adapter);
    EXPECT_TRUE(figures({mains("1")}).adapter);
    EXPECT_FALSE(number(figures({mains("1")}).adapter.value(), "Watts"));
    EXPECT_FALSE(number(figures({usb("1", "0", "5000000")}).adapter.value(), "Watts"));
    EXPECT_FALSE(figures({}).adapter);
}

TEST(PowerFigures, PreferAnAdaptersRatingToWhatItGivesNow) {
    const Attributes adapter{{"type", "USB"},
                             {"online", "1"},
                             {"voltage_max", "20000000"},
                             {"voltage_now", "5000000"},
                             {"current_max", "3000000"},
                             {"current_now", "1000000"}};
    EXPECT_EQ(number(figures({adapter}).adapter.value(), "Watts"), 60);
    const Attributes charger{{"type", "USB"},
                             {"online", "1"},
                             {"voltage_now", "12000000"},
                             {"input_current_limit", "2000000"},
                             {"current_now", "-100000"}};
    EXPECT_EQ(number(figures({charger}).adapter.value(), "Watts"), 24);
}

TEST(PowerFigures, HaveTheTemperatureInHundredthsBelowAndAtZeroToo) {
    const std::pair<const char*, std::optional<double>> cases[] = {{"312", 3120},          {"0", 0},
                                                                   {"-55", -550},          {"-400", -4000},
                                                                   {"1250", 12500},        {"1251", std::nullopt},
                                                                   {"-401", std::nullopt}, {"-1000", std::nullopt},
                                                                   {"65535", std::nullopt}};
    for (const auto& [temperature, expected] : cases)
        EXPECT_EQ(property({{"temp", temperature}}, "Temperature"), expected) << temperature;
}

TEST(PowerFigures, PackTheDateOfMaking) {
    const auto packed = [](const char* year, const char* month, const char* day) {
        return property({{"manufacture_year", year}, {"manufacture_month", month}, {"manufacture_day", day}},
                        "ManufactureDate");
    };
    EXPECT_EQ(packed("2021", "3", "14"), 41 * 512 + 3 * 32 + 14);
    EXPECT_EQ(packed("2021", "13", "32"), 41 * 512);
    EXPECT_EQ(packed("2021", "", "-1"), 41 * 512);
    EXPECT_EQ(packed("1980", "0", "1"), 1);
    EXPECT_FALSE(packed("1980", "0", "0"));
    EXPECT_FALSE(packed("1979", "3", "14"));
    EXPECT_FALSE(packed("2108", "3", "14"));
    EXPECT_FALSE(packed("21", "3", "14"));
}

TEST(PowerFigures, OfAnEmptyBaySayOnlyThatItIsEmpty) {
    const PowerFigures result = figures({battery({{"present", "0"},
                                                  {"status", "Discharging"},
                                                  {"charge_now", "1000000"},
                                                  {"charge_full", "2000000"},
                                                  {"capacity", "50"},
                                                  {"health", "Dead"}}),
                                         mains("1")});
    EXPECT_EQ(result.sources.at(0),
              (PropertyList::Dictionary{
                  {"Is Charged", false}, {"Is Charging", false}, {"Time to Empty", 0}, {"Time to Full Charge", 0}}));
    EXPECT_EQ(*result.battery, (PropertyList::Dictionary{{"BatteryInstalled", false}, {"ExternalConnected", true}}));
}

TEST(PowerFigures, PutEmptyBaysBehindTheBatteries) {
    const PowerFigures result = figures({battery({{"present", "0"}}), battery({{"cycle_count", "7"}}),
                                         battery({{"present", "1"}, {"cycle_count", "8"}})});
    EXPECT_EQ(result.sources.size(), 3u);
    EXPECT_EQ(number(*result.battery, "CycleCount"), 7);
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
