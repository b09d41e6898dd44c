// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/linux/power/PowerSupply.h>

#include <optional>
#include <vector>

namespace sentrel::platform {

/// What the machine's power supplies amount to, under the key names of the seam.
struct PowerFigures {
    std::vector<PropertyList::Dictionary> sources;   ///< one description a battery
    std::optional<PropertyList::Dictionary> adapter; ///< details of the external adapter, if one is online
    std::optional<PropertyList::Dictionary> battery; ///< properties of the internal battery, if there is one
    friend bool operator==(const PowerFigures&, const PowerFigures&) = default;
};

/// Converts supplies into figures: every conversion between the kernel's attributes and the seam's keys.
///
/// Order: batteries that are present, by name, then empty bays, by name. The first is the internal battery.
///
/// An adapter is connected when one is online. Where the machine shows no adapter at all, a first battery that charges,
/// is full or holds its charge tells of one, one that discharges tells there is none, and otherwise it is not known.
/// A battery counts as discharging when its status says so, or when its status is not known and no adapter is
/// connected.
///
/// | description of a source    | conversion; an empty bay has the two flags and the two times only                |
/// | -------------------------- | -------------------------------------------------------------------------------- |
/// | "BatteryHealthCondition"   | `health`; missing where there is none                                            |
/// | "Is Charged"               | status "Full"                                                                    |
/// | "Is Charging"              | status "Charging"                                                                |
/// | "Current"                  | `current`, else `power` ÷ `voltage` (the design's without one), to nearest mA;   |
/// |                            | negative while discharging, whatever the driver's sign                           |
/// | "Current Capacity",        | the first complete pair of: `chargeNow`, `chargeFull`; `energyNow`,              |
/// | "Max Capacity"             | `energyFull`; `percent`, 100. The first of a pair never exceeds the second (a    |
/// |                            | fresh battery may, 102 %)                                                        |
/// | "Time to Empty"            | 0 unless discharging; `timeToEmpty` to nearest minute; else what remains ÷       |
/// |                            | rate (a); else -1                                                                |
/// | "Time to Full Charge"      | 0 unless charging; `timeToFull` to nearest minute; else what is missing ÷        |
/// |                            | rate (a); else -1                                                                |
///
/// (a) `energyNow` (`energyFull` less it) ÷ `power` where the driver gives both; else "CurrentCapacity" ("MaxCapacity"
/// less it) ÷ "Current". A rate below 100 mW or 10 mA is the gauge's noise, and a time of 65535 minutes or more (0xFFFF
/// of smart batteries) is none: then the time cannot be known.
///
/// | property of the battery    | conversion; an empty bay has the first two only                                  |
/// | -------------------------- | -------------------------------------------------------------------------------- |
/// | "BatteryInstalled"         | `present`                                                                        |
/// | "ExternalConnected"        | an adapter is connected; missing while not known                                 |
/// | "IsCharging"               | status "Charging"                                                                |
/// | "CurrentCapacity"          | `chargeNow`; else `energyNow` ÷ `voltageDesign`; else `percent` of               |
/// |                            | "MaxCapacity"; to nearest mAh                                                    |
/// | "MaxCapacity"              | `chargeFull`; else `energyFull` ÷ `voltageDesign`; to nearest mAh                |
/// | "DesignCapacity"           | `chargeDesign`; else `energyDesign` ÷ `voltageDesign`; to nearest mAh            |
/// | "CycleCount"               | `cycles`                                                                         |
/// | "DesignCycleCount9C"       | no driver tells it: missing                                                      |
/// | "Voltage"                  | `voltage` to nearest mV                                                          |
/// | "Temperature"              | `temperature` × 10, tenths to hundredths of a degree                             |
/// | "ManufactureDate"          | (`madeYear` - 1980) × 512 + `madeMonth` × 32 + `madeDay`; missing without a      |
/// |                            | year, and for 0                                                                  |
///
/// | detail of the adapter      | conversion; there are details only while an adapter is online                    |
/// | -------------------------- | -------------------------------------------------------------------------------- |
/// | "Watts"                    | `voltage` × `current` to nearest W, the largest of the adapters online; missing  |
/// |                            | if none tells both                                                               |
[[nodiscard]] PowerFigures powerFigures(const PowerSupplies& supplies);

} // namespace sentrel::platform
