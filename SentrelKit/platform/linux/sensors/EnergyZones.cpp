// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/sensors/EnergyZones.h>

#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>
#include <SentrelKit/platform/linux/sensors/ChannelFile.h>
#include <SentrelKit/platform/linux/sensors/MonitorChips.h>

#include <cerrno>
#include <string>
#include <unistd.h>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr std::string_view classFolder = "/sys/class/powercap";

std::string pathOf(std::string_view zone, std::string_view file) {
    return std::string(classFolder) + "/" + std::string(zone) + "/" + std::string(file);
}

// The names of the zones that it lies in, and its own.
std::string label(const SystemRoot& root, std::string_view zone) {
    const std::string name = root.readLine(pathOf(zone, "name")).value_or(std::string(zone));
    const std::string_view parent = zone.substr(0, zone.rfind(':'));
    return parent.find(':') == std::string_view::npos ? name : label(root, parent) + " " + name;
}

} // namespace

EnergyZones::EnergyZones(SystemRoot root) : root_(std::move(root)), folder_(root_, classFolder) {}

void EnergyZones::find() {
    zones_.clear();
    const double units = kernelUnits(SensorKind::energy);
    for (const std::string& name : namesIn(root_, classFolder).value_or(std::vector<std::string>())) {
        std::string counter = root_.path(pathOf(name, "energy_uj"));
        if (::access(counter.c_str(), F_OK) != 0)
            continue; // the control type itself, or a zone without a counter
        Zone zone{.reading = {}, .counter = NumberFile(std::move(counter))};
        zone.reading.kind = SensorKind::energy;
        zone.reading.identifier = name;
        std::string_view rest = name;
        zone.reading.chip = takeUpTo(rest, ':');
        zone.reading.label = label(root_, name);
        NumberFile range(root_.path(pathOf(name, "max_energy_range_uj")), NumberFile::Keeping::closed);
        if (const std::optional<std::int64_t> most = range.read(); most && *most > 0)
            zone.reading.range = static_cast<double>(*most) / units;
        zones_.push_back(std::move(zone));
    }
}

Availability EnergyZones::read(std::vector<SensorReading>& readings) {
    if (folder_.hasChanged())
        find();
    int error = ENODEV;
    bool isAny = false;
    for (Zone& zone : zones_) {
        const std::optional<std::int64_t> counter = zone.counter.read();
        zone.isRead = counter && *counter >= 0;
        if (zone.isRead) {
            isAny = true;
            zone.reading.value = static_cast<double>(*counter) / kernelUnits(SensorKind::energy);
        } else {
            error = counter ? EINVAL : errno;
        }
    }
    if (!isAny)
        return zones_.empty() ? Availability::unsupported : availabilityOf(error);
    fillReadings(readings, zones_);
    return Availability::available;
}

} // namespace sentrel::platform
