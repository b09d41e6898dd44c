// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Power sources: what the machine runs on. A backend hands out what its system knows under the system's own key
/// names; a key that the system cannot tell is missing, never zero. Any thread may ask.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/util/PropertyList.h>
#include <SentrelKit/platform/Observation.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// The power sources as they were at one moment.
class SENTREL_API PowerSourcesInfo {
public:
    virtual ~PowerSourcesInfo() = default;

    /// How many sources there are; absent if the list cannot be had. macOS: IOPSCopyPowerSourcesList.
    [[nodiscard]] virtual std::optional<std::size_t> count() const = 0;

    /// The description of one source, `index` below the count; absent if it cannot be had. On Linux the
    /// first source is the first battery. macOS: IOPSGetPowerSourceDescription. Keys:
    ///
    /// | key | kind | meaning |
    /// | --- | --- | --- |
    /// | "BatteryHealthCondition" | text | health in the driver's words |
    /// | "Time to Empty" | integer | minutes; 0 unless discharging, -1 while it cannot be known |
    /// | "Time to Full Charge" | integer | minutes; 0 unless charging, -1 while it cannot be known |
    /// | "Is Charged", "Is Charging" | bool | |
    /// | "Current" | integer | mA, negative while discharging |
    /// | "Current Capacity", "Max Capacity" | number | one unit for both, whichever the battery counts in |
    [[nodiscard]] virtual std::optional<PropertyList::Dictionary> description(std::size_t index) const = 0;
};

/// The internal battery. Holding one keeps what was looked up; it is released by destruction.
class SENTREL_API BatteryService {
public:
    virtual ~BatteryService() = default;

    /// One property; absent if the battery does not have it. macOS: IORegistryEntryCreateCFProperty. Keys:
    ///
    /// | key | kind | unit |
    /// | --- | --- | --- |
    /// | "BatteryInstalled", "ExternalConnected", "IsCharging" | bool | |
    /// | "CurrentCapacity", "MaxCapacity", "DesignCapacity" | integer | mAh |
    /// | "CycleCount", "DesignCycleCount9C" | integer | charge cycles |
    /// | "Voltage" | integer | mV |
    /// | "Temperature" | integer | hundredths of a degree Celsius |
    /// | "ManufactureDate" | integer | day in bits 0 to 4, month in bits 5 to 8, year minus 1980 above |
    [[nodiscard]] virtual std::optional<PropertyList> property(std::string_view key) const = 0;
};

/// The questions about power sources. Any thread, unless a member says otherwise.
class SENTREL_API PowerService {
public:
    virtual ~PowerService() = default;

    /// A snapshot of the power sources, or null if it cannot be taken. macOS: IOPSCopyPowerSourcesInfo.
    [[nodiscard]] virtual std::unique_ptr<PowerSourcesInfo> powerSources() = 0;

    /// Details of the external power adapter: "Watts" (integer) where its power is known. Absent without an adapter.
    /// macOS: IOPSCopyExternalPowerAdapterDetails.
    [[nodiscard]] virtual std::optional<PropertyList::Dictionary> externalAdapterDetails() = 0;

    /// The internal battery, or null where there is none. macOS: IOServiceGetMatchingService, "AppleSmartBattery".
    [[nodiscard]] virtual std::unique_ptr<BatteryService> batteryService() = 0;

    /// Adds a source to the calling thread's loop that calls `changed` whenever the power sources change, on the thread
    /// that runs this loop. Each call adds one more. Empty, with errno set, if there can be none.
    ///
    /// macOS: IOPSNotificationCreateRunLoopSource and CFRunLoopAddSource in the default mode; the release is
    /// CFRunLoopSourceInvalidate, on any thread. The loop may be about to call back just then, with an address that
    /// nothing retains: the address is a number, under which the callback finds the observer or no longer finds it.
    [[nodiscard]] virtual Observation observe(std::function<void()> changed) = 0;
};

} // namespace sentrel::platform
