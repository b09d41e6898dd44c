// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ThermalZones.h>

#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <string>

namespace sentrel::platform {

namespace {

constexpr std::string_view folder = "/sys/class/thermal/";

std::vector<TripPoint> readTrips(const SystemRoot& root, const std::string& zone) {
    std::vector<TripPoint> trips;
    for (const std::string& name : namesIn(root, zone).value_or(std::vector<std::string>())) {
        constexpr std::string_view prefix = "trip_point_";
        constexpr std::string_view suffix = "_type";
        if (!name.starts_with(prefix) || !name.ends_with(suffix))
            continue;
        const std::string stem = zone + "/" + name.substr(0, name.size() - suffix.size());
        const std::optional<ThermalState> state = stateOfTrip(root.readLine(stem + "_type").value_or(""));
        const std::string text = root.readLine(stem + "_temp").value_or("");
        std::string_view number = text;
        const std::optional<std::int64_t> temperature = takeNumber<std::int64_t>(number);
        if (state && temperature && *temperature > 0)
            trips.push_back({*temperature, *state});
    }
    return trips;
}

} // namespace

std::optional<ThermalState> stateOfTrip(std::string_view kind) noexcept {
    if (kind == "active")
        return ThermalState::fair;
    if (kind == "passive")
        return ThermalState::serious;
    if (kind == "hot" || kind == "critical")
        return ThermalState::critical;
    return std::nullopt;
}

ThermalState stateAt(std::int64_t temperature, const std::vector<TripPoint>& trips) noexcept {
    ThermalState worst = ThermalState::nominal;
    for (const TripPoint& trip : trips)
        if (temperature >= trip.temperature)
            worst = std::max(worst, trip.state);
    return worst;
}

void ThermalZones::find() {
    zones_.clear();
    for (const std::string& name : namesIn(root_, folder).value_or(std::vector<std::string>())) {
        if (!name.starts_with("thermal_zone"))
            continue;
        const std::string zone = std::string(folder) + name;
        std::vector<TripPoint> trips = readTrips(root_, zone);
        if (!trips.empty())
            zones_.push_back({KeptFile(root_, zone + "/temp"), std::move(trips)});
    }
}

ThermalState ThermalZones::state() noexcept {
    ThermalState worst = ThermalState::nominal;
    for (Zone& zone : zones_) {
        std::array<char, 32> buffer;
        std::string_view content = zone.temperature.read(buffer).value_or(std::string_view());
        if (const std::optional<std::int64_t> temperature = takeNumber<std::int64_t>(content))
            worst = std::max(worst, stateAt(*temperature, zone.trips));
    }
    return worst;
}

} // namespace sentrel::platform
