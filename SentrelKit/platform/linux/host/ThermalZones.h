// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The kernel's thermal zones (Documentation/driver-api/thermal/sysfs-api.rst), each against its own trip points.

#include <SentrelKit/platform/ThermalState.h>
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// A temperature, in thousandths of a degree Celsius, from which on a zone is in a state.
struct TripPoint {
    std::int64_t temperature = 0;
    ThermalState state = ThermalState::nominal;
};

/// What passing a trip point of a kind means: at "active" a fan starts (fair), at "passive" the machine slows itself
/// down (serious), "hot" and "critical" are the last stops before it shuts down (critical). Absent for any other kind.
[[nodiscard]] std::optional<ThermalState> stateOfTrip(std::string_view kind) noexcept;

/// The worst state whose trip point the temperature has reached.
[[nodiscard]] ThermalState stateAt(std::int64_t temperature, const std::vector<TripPoint>& trips) noexcept;

/// All zones of a machine, found once and read again and again. One thread at a time.
class ThermalZones {
public:
    explicit ThermalZones(SystemRoot root) : root_(std::move(root)) {}

    /// Looks for zones and their trip points. A point at or below 0 degrees is switched off and left out.
    void find();

    /// The worst state of all zones that can be read; nominal where there are none.
    [[nodiscard]] ThermalState state() noexcept;

private:
    struct Zone {
        KeptFile temperature;
        std::vector<TripPoint> trips;
    };

    SystemRoot root_;
    std::vector<Zone> zones_;
};

} // namespace sentrel::platform
