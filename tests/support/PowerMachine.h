// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/probes/BatteryProbes.h>

#include <map>
#include <optional>
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

/// A scripted machine with Linux' power service, in force for a scope with a system manager of its own.
class PowerMachine {
public:
    explicit PowerMachine(const platform::SystemRoot& root, const platform::PowerChangeTimes& times = {});
    PowerMachine(const PowerMachine&) = delete;
    PowerMachine& operator=(const PowerMachine&) = delete;

    platform::ScriptedPlatform& scripted() noexcept { return platform_.rest; }
    platform::LinuxPowerService& power() noexcept { return platform_.service; }

private:
    struct WithPower final : platform::Platform {
        WithPower(const platform::SystemRoot& root, const platform::PowerChangeTimes& times) : service(root, times) {}

        platform::Clock& clock() noexcept override { return rest.clock(); }
        platform::Dispatch& dispatch() noexcept override { return rest.dispatch(); }
        platform::HostService& host() noexcept override { return rest.host(); }
        platform::GraphicsService& graphics() noexcept override { return rest.graphics(); }
        platform::VolumeService& volumes() noexcept override { return rest.volumes(); }
        platform::NetworkService& network() noexcept override { return rest.network(); }
        platform::PowerService& power() noexcept override { return service; }
        platform::ProcessService& processes() noexcept override { return rest.processes(); }
        platform::Desktop& desktop() noexcept override { return rest.desktop(); }
        platform::PreferenceStore& preferences() noexcept override { return rest.preferences(); }

        platform::ScriptedPlatform rest;
        platform::LinuxPowerService service;
    };

    WithPower platform_;
    platform::Override override_{platform_};
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
