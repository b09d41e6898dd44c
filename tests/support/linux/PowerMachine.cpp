// SPDX-License-Identifier: Apache-2.0
#include "tests/support/linux/PowerMachine.h"

#include "tests/support/Fixtures.h"

#include <SentrelKit/probes/BatteryProbes.h>
#include <SentrelKit/system/Battery.h>

#include <cstdlib>
#include <fstream>
#include <glib.h>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace sentrel {

namespace {

constexpr std::string_view classFolder = "sys/class/power_supply/";

std::ifstream openFixture(std::string_view machine, const char* suffix) {
    std::string path = fixturePath("battery/") + std::string(machine) + suffix;
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("no " + path);
    return file;
}

std::string unescape(const std::string& text) {
    const std::unique_ptr<char, decltype(&g_free)> plain(g_strcompress(text.c_str()), g_free);
    return plain.get();
}

std::string trim(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos)
        return {};
    return std::string(text.substr(begin, text.find_last_not_of(' ') - begin + 1));
}

template <class Number>
std::string text(Number number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

} // namespace

PowerSupplyTree::PowerSupplyTree(std::string_view machine) {
    std::ifstream file = openFixture(machine, ".umockdev");
    std::string device;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("P: ")) {
            device = line.substr(line.rfind('/') + 1);
        } else if (line.starts_with("A: ")) {
            const std::size_t equals = line.find('=');
            set(device, line.substr(3, equals - 3), unescape(line.substr(equals + 1)));
        }
    }
}

void PowerSupplyTree::set(std::string_view device, std::string_view attribute, std::string_view value) const {
    folder_.write(std::string(classFolder) + std::string(device) + "/" + std::string(attribute), value);
}

void PowerSupplyTree::remove(std::string_view device, std::string_view attribute) const {
    folder_.remove(std::string(classFolder) + std::string(device) + "/" + std::string(attribute));
}

std::map<std::string, std::string> batteryFigures() {
    std::map<std::string, std::string> figures;
    int calls = 0;
    probes::_getBatteryData([&](const probes::BatteryData* data) {
        ++calls;
        figures["health"] = data->health;
        figures["hasHealth"] = text(int{data->hasHealth});
        figures["timeToEmpty"] = text(data->timeToEmpty);
        figures["timeToFull"] = text(data->timeToFull);
        figures["isCharged"] = text(int{data->isCharged});
        figures["isCharging"] = text(int{data->isCharging});
        figures["current"] = text(data->current);
        figures["percent"] = text(data->percent);
        figures["watts"] = text(data->watts);
    });
    figures["calls"] = text(calls);

    const Battery battery;
    figures["hasBattery"] = text(battery.hasBattery());
    figures["installed"] = text(battery.installed());
    figures["isACPowered"] = text(battery.isACPowered());
    figures["currentCapacity"] = text(battery.currentCapacity());
    figures["maxCapacity"] = text(battery.maxCapacity());
    figures["designCapacity"] = text(battery.designCapacity());
    figures["healthPercent"] = text(battery.health());
    figures["cycleCount"] = text(battery.cycleCount());
    figures["designCycleCount"] = text(battery.designCycleCount());
    figures["temperature"] = text(battery.temperature());
    figures["voltage"] = text(battery.voltage());
    figures["batteryWatts"] = text(battery.watts());
    figures["timeRemaining"] = battery.timeRemaining();
    figures["age"] = battery.age();
    figures["manufactured"] = battery.manufactured();
    return figures;
}

std::map<std::string, std::string> expectedBatteryFigures(std::string_view machine) {
    std::ifstream file = openFixture(machine, ".expected");
    std::map<std::string, std::string> figures;
    for (std::string line; std::getline(file, line);) {
        const std::string_view content = std::string_view(line).substr(0, line.find('#'));
        if (const std::size_t equals = content.find('='); equals != std::string_view::npos)
            figures[trim(content.substr(0, equals))] = trim(content.substr(equals + 1));
    }
    return figures;
}

} // namespace sentrel
