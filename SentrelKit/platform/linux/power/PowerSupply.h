// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The devices of the kernel's power-supply class as their drivers describe them, with what is no measurement taken
/// out.
///
/// Every figure is an attribute file of the device's folder (Documentation/ABI/testing/sysfs-class-power). Drivers
/// without a reading say so in many ways; all of these are absent here: a file that is missing or cannot be read, one
/// that holds no whole number, 0, a negative number (where no sign is expected), 2147483647 and above (INT_MAX of
/// drivers with 32-bit figures), -1000 (the -1 of ACPI in thousandths), and 65535 (0xFFFF of smart batteries), also in
/// thousandths: 65535000.

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// Gives the text of one attribute file, without blanks around it; absent if it cannot be read.
using PowerAttributes = std::function<std::optional<std::string>(const char* attribute)>;

/// A battery that runs the machine: type "Battery", scope not "Device" (those run a mouse, a headset, a stylus).
struct BatterySupply {
    enum class Status : std::uint8_t { unknown, charging, discharging, notCharging, full };

    std::string name;
    bool present = true; ///< false for an empty battery bay
    Status status = Status::unknown;
    std::optional<std::string> health; ///< the driver's word, unless that is "Unknown"

    std::optional<double> chargeNow;      ///< charge_now, charge_avg (µAh)
    std::optional<double> chargeFull;     ///< charge_full (µAh)
    std::optional<double> chargeDesign;   ///< charge_full_design (µAh)
    std::optional<double> energyNow;      ///< energy_now, energy_avg (µWh)
    std::optional<double> energyFull;     ///< energy_full (µWh)
    std::optional<double> energyDesign;   ///< energy_full_design (µWh)
    std::optional<double> current;        ///< size of current_now, current_avg (µA); drivers differ on its sign
    std::optional<double> power;          ///< size of power_now, power_avg (µW)
    std::optional<double> voltage;        ///< voltage_now, voltage_avg (µV)
    std::optional<double> voltageDesign;  ///< voltage_min_design, voltage_max_design, else `voltage` (µV)
    std::optional<double> timeToEmpty;    ///< time_to_empty_now, time_to_empty_avg (s), below 65535 minutes
    std::optional<double> timeToFull;     ///< time_to_full_now, time_to_full_avg (s), below 65535 minutes
    std::optional<double> percent;        ///< capacity, 0 to 100, 0 included; else what capacity_level stands for
    std::optional<double> temperature;    ///< temp, -40.0 to 125.0 °C, 0 included (tenths of a degree Celsius)
    std::optional<std::int64_t> cycles;   ///< cycle_count
    std::optional<std::int64_t> madeYear; ///< manufacture_year, 1980 to 2107 as smart batteries can say it
    std::int64_t madeMonth = 0;           ///< manufacture_month, 1 to 12; 0 is not known
    std::int64_t madeDay = 0;             ///< manufacture_day, 1 to 31; 0 is not known
};

/// A supply from outside: type "Mains", "Wireless", "BrickID" or "USB" with its kinds; scope not "Device".
struct AdapterSupply {
    std::string name;
    bool online = false;           ///< online not 0
    std::optional<double> voltage; ///< voltage_max, the rating; else voltage_now (µV)
    std::optional<double> current; ///< current_max, the rating; else input_current_limit, current_now (µA)
};

/// All supplies that count, each list in the order of the names. An uninterruptible supply (type "UPS") is neither a
/// battery of the machine nor an adapter.
struct PowerSupplies {
    std::vector<BatterySupply> batteries;
    std::vector<AdapterSupply> adapters;
};

/// Adds the device to the list it belongs to, if to any.
void addPowerSupply(PowerSupplies& supplies, std::string name, const PowerAttributes& attributes);

/// Reads every device of /sys/class/power_supply. A machine without this folder has no supplies.
[[nodiscard]] PowerSupplies readPowerSupplies(const SystemRoot& root);

} // namespace sentrel::platform
