// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Texts.h"

#include <SentrelKit/system/Formatting.h>
#include <SentrelKit/system/Time.h>

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace dashboard {

using namespace sentrel;

std::string percentText(double percent) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f%%", percent);
    return text;
}

std::string thermalStateName(ThermalState state) {
    switch (state) {
    case ThermalState::nominal:
        return "nominal";
    case ThermalState::fair:
        return "fair";
    case ThermalState::serious:
        return "serious";
    case ThermalState::critical:
        return "critical";
    }
    return "unknown";
}

std::string durationText(std::int64_t seconds) {
    const Time::Split parts = Time::split(seconds);
    const auto with = [](std::int64_t count, const char* unit) { return std::to_string(count) + unit; };
    if (parts.days > 0)
        return with(parts.days, " d ") + with(parts.hrs, " h ") + with(parts.mins, " min");
    if (parts.hrs > 0)
        return with(parts.hrs, " h ") + with(parts.mins, " min");
    return with(parts.mins, " min ") + with(parts.secs, " s");
}

std::string swapText(const Memory& memory) {
    const auto swap = memory.swap();
    return swap.total == 0 ? "none" : byteStr(swap.used) + " of " + byteStr(swap.total);
}

std::string graphicsText(const GPU& gpu) {
    return gpu.current() ? gpu.name() : "no active graphics processor";
}

std::vector<std::shared_ptr<Disk::Volume>> sortedVolumes(const Disk& disk) {
    std::vector<std::shared_ptr<Disk::Volume>> volumes;
    for (const auto& [device, volume] : disk.volumes())
        volumes.push_back(volume);
    std::sort(volumes.begin(), volumes.end(), [](const auto& a, const auto& b) {
        return std::make_tuple(!a->isRootFS(), a->path()) < std::make_tuple(!b->isRootFS(), b->path());
    });
    return volumes;
}

std::string spaceText(const Disk::Volume& volume) {
    return diskByteStr(volume.used()) + " of " + diskByteStr(volume.total());
}

std::string ratesText(const Disk::Volume& volume) {
    return "read " + bpsStr(volume.rbytesps()) + ", write " + bpsStr(volume.wbytesps());
}

std::string connectionName(const Network& network) {
    switch (network.connection()) {
    case Network::ConnectionType::none:
        return "none";
    case Network::ConnectionType::local:
        return "local";
    case Network::ConnectionType::internet:
        return "Internet";
    }
    return "unknown";
}

std::string ratesText(const Network::Interface& interface) {
    return "in " + bpsStr(interface.ibytesps()) + ", out " + bpsStr(interface.obytesps());
}

std::string peaksText(const Network::Interface& interface) {
    return "in " + bpsStr(interface.peakibytesps()) + ", out " + bpsStr(interface.peakobytesps());
}

bool showsBattery(const Battery& battery) {
    return battery.hasBattery() && battery.installed();
}

std::string batteryText(const Battery& battery) {
    if (!showsBattery(battery))
        return "no battery";
    const char* const state = battery.isFullyCharged() ? "charged" : battery.isCharging() ? "charging" : "discharging";
    return std::to_string(battery.percent()) + " %, " + state;
}

} // namespace dashboard
