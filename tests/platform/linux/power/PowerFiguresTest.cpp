// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include "tests/platform/linux/power/PowerDevices.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

namespace sentrel::platform {
namespace {

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

} // namespace
} // namespace sentrel::platform
