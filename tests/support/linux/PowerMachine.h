// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <map>
#include <string>
#include <string_view>

namespace sentrel {

/// The folder of a captured machine under /sys/class/power_supply, made of the same description that umockdev reads.
class PowerSupplyTree {
public:
    /// Loads fixtures/battery/<machine>.umockdev.
    explicit PowerSupplyTree(std::string_view machine);
    PowerSupplyTree() = default;

    [[nodiscard]] platform::SystemRoot root() const { return platform::SystemRoot(folder_.path()); }

    /// Sets one attribute of a device, making the device if it is not there.
    void set(std::string_view device, std::string_view attribute, std::string_view value) const;

    /// Takes a device, or one of its attributes, away.
    void remove(std::string_view device, std::string_view attribute = {}) const;

private:
    TemporaryFolder folder_;
};

/// What the battery probe and a new battery model say on the platform in force, as texts under the names that the
/// fixtures use.
[[nodiscard]] std::map<std::string, std::string> batteryFigures();

/// The figures that fixtures/battery/<machine>.expected works out by hand.
[[nodiscard]] std::map<std::string, std::string> expectedBatteryFigures(std::string_view machine);

/// The captured machines.
inline constexpr const char* powerMachines[] = {"charge-laptop", "energy-laptop", "two-batteries", "usb-c-tablet",
                                                "mouse-desktop", "ups-desktop",   "garbage"};

} // namespace sentrel
