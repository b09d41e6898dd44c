// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerSupply.h>

#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace sentrel::platform {

namespace {

using Names = std::initializer_list<const char*>;

// 0xFFFF minutes is how a smart battery says that it does not know (Smart Battery Data standard).
constexpr std::int64_t unknownMinutes = 65535;

constexpr std::string_view folder = "/sys/class/power_supply";

std::optional<std::int64_t> wholeNumber(const PowerAttributes& attributes, const char* name) {
    const std::optional<std::string> text = attributes(name);
    return text ? toNumber<std::int64_t>(*text) : std::nullopt;
}

bool isSentinel(std::int64_t value) {
    return value == 65535 || value == 65535000 || value == -1000 || value >= 2147483647 || value <= -2147483647;
}

std::optional<std::int64_t> positive(const PowerAttributes& attributes, const char* name) {
    const auto value = wholeNumber(attributes, name);
    return value && *value > 0 && !isSentinel(*value) ? value : std::nullopt;
}

std::optional<std::int64_t> within(const PowerAttributes& attributes, const char* name, std::int64_t least,
                                   std::int64_t most) {
    const auto value = wholeNumber(attributes, name);
    return value && *value >= least && *value <= most ? value : std::nullopt;
}

// The first of the attributes that holds a positive figure.
std::optional<double> figure(const PowerAttributes& attributes, Names names) {
    for (const char* name : names)
        if (const auto value = positive(attributes, name))
            return static_cast<double>(*value);
    return std::nullopt;
}

std::optional<double> magnitude(const PowerAttributes& attributes, Names names) {
    for (const char* name : names)
        if (const auto value = wholeNumber(attributes, name); value && *value != 0 && !isSentinel(*value))
            return std::abs(static_cast<double>(*value));
    return std::nullopt;
}

std::optional<double> seconds(const PowerAttributes& attributes, Names names) {
    for (const char* name : names)
        if (const auto value = positive(attributes, name); value && *value < unknownMinutes * 60)
            return static_cast<double>(*value);
    return std::nullopt;
}

BatterySupply::Status status(const PowerAttributes& attributes) {
    using Status = BatterySupply::Status;
    static constexpr std::array<std::pair<std::string_view, Status>, 4> words{{{"Charging", Status::charging},
                                                                               {"Discharging", Status::discharging},
                                                                               {"Not charging", Status::notCharging},
                                                                               {"Full", Status::full}}};
    const std::optional<std::string> text = attributes("status");
    for (const auto& [word, value] : words)
        if (text == word)
            return value;
    return Status::unknown;
}

// The kernel's words are short ASCII; anything else is no word.
std::optional<std::string> health(const PowerAttributes& attributes) {
    std::optional<std::string> text = attributes("health");
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    if (!text || text->empty() || text->size() > 64 || *text == "Unknown" ||
        !std::all_of(text->begin(), text->end(), isPrintable))
        return std::nullopt;
    return text;
}

std::optional<double> percent(const PowerAttributes& attributes) {
    if (const auto capacity = within(attributes, "capacity", 0, 100))
        return static_cast<double>(*capacity);
    static constexpr std::array<std::pair<std::string_view, double>, 5> levels{
        {{"Critical", 5.0}, {"Low", 15.0}, {"Normal", 55.0}, {"High", 80.0}, {"Full", 100.0}}};
    const std::optional<std::string> text = attributes("capacity_level");
    for (const auto& [level, value] : levels)
        if (text == level)
            return value;
    return std::nullopt;
}

BatterySupply readBattery(std::string name, const PowerAttributes& attributes) {
    BatterySupply battery;
    battery.name = std::move(name);
    battery.present = wholeNumber(attributes, "present") != 0;
    if (!battery.present)
        return battery;
    battery.status = status(attributes);
    battery.health = health(attributes);
    battery.chargeNow = figure(attributes, {"charge_now", "charge_avg"});
    battery.chargeFull = figure(attributes, {"charge_full"});
    battery.chargeDesign = figure(attributes, {"charge_full_design"});
    battery.energyNow = figure(attributes, {"energy_now", "energy_avg"});
    battery.energyFull = figure(attributes, {"energy_full"});
    battery.energyDesign = figure(attributes, {"energy_full_design"});
    battery.current = magnitude(attributes, {"current_now", "current_avg"});
    battery.power = magnitude(attributes, {"power_now", "power_avg"});
    battery.voltage = figure(attributes, {"voltage_now", "voltage_avg"});
    battery.voltageDesign = figure(attributes, {"voltage_min_design", "voltage_max_design"});
    if (!battery.voltageDesign)
        battery.voltageDesign = battery.voltage;
    battery.timeToEmpty = seconds(attributes, {"time_to_empty_now", "time_to_empty_avg"});
    battery.timeToFull = seconds(attributes, {"time_to_full_now", "time_to_full_avg"});
    battery.percent = percent(attributes);
    if (const auto tenths = within(attributes, "temp", -400, 1250))
        battery.temperature = static_cast<double>(*tenths);
    battery.cycles = positive(attributes, "cycle_count");
    battery.madeYear = within(attributes, "manufacture_year", 1980, 2107);
    battery.madeMonth = within(attributes, "manufacture_month", 1, 12).value_or(0);
    battery.madeDay = within(attributes, "manufacture_day", 1, 31).value_or(0);
    return battery;
}

AdapterSupply readAdapter(std::string name, const PowerAttributes& attributes) {
    return {.name = std::move(name),
            .online = wholeNumber(attributes, "online").value_or(0) > 0,
            .voltage = figure(attributes, {"voltage_max", "voltage_now"}),
            .current = magnitude(attributes, {"current_max", "input_current_limit", "current_now"})};
}

} // namespace

void addPowerSupply(PowerSupplies& supplies, std::string name, const PowerAttributes& attributes) {
    const std::optional<std::string> type = attributes("type");
    if (!type || attributes("scope") == "Device")
        return;
    if (*type == "Battery")
        supplies.batteries.push_back(readBattery(std::move(name), attributes));
    else if (*type == "Mains" || *type == "Wireless" || *type == "BrickID" || type->starts_with("USB"))
        supplies.adapters.push_back(readAdapter(std::move(name), attributes));
}

PowerSupplies readPowerSupplies(const SystemRoot& root) {
    PowerSupplies supplies;
    for (std::string& name : namesIn(root, folder).value_or(std::vector<std::string>())) {
        std::string path = std::string(folder) + "/" + name + "/";
        const std::size_t stem = path.size();
        addPowerSupply(supplies, std::move(name), [&](const char* attribute) {
            path.resize(stem);
            path += attribute;
            return root.readLine(path);
        });
    }
    return supplies;
}

} // namespace sentrel::platform
