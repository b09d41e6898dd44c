// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Power supplies by their attributes, and single figures of what is made of them.

#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include <initializer_list>
#include <map>
#include <optional>
#include <string>

namespace sentrel::platform {

using Attributes = std::map<std::string, std::string>;

inline PowerSupplies supplies(std::initializer_list<Attributes> devices) {
    PowerSupplies result;
    int number = 0;
    for (const Attributes& device : devices)
        addPowerSupply(result, "device" + std::to_string(number++),
                       [&](const char* name) -> std::optional<std::string> {
                           const auto attribute = device.find(name);
                           return attribute == device.end() ? std::nullopt : std::optional(attribute->second);
                       });
    return result;
}

inline PowerFigures figures(std::initializer_list<Attributes> devices) {
    return powerFigures(supplies(devices));
}

inline Attributes battery(const Attributes& more) {
    Attributes attributes{{"type", "Battery"}};
    attributes.insert(more.begin(), more.end());
    return attributes;
}

inline Attributes mains(const char* online) {
    return {{"type", "Mains"}, {"online", online}};
}

// One figure of a single battery that discharges, as a number, or nothing where it is missing.
inline std::optional<double> number(const PropertyList::Dictionary& figures, const char* key) {
    const auto entry = figures.find(key);
    if (entry == figures.end())
        return std::nullopt;
    if (const auto* whole = entry->second.as<std::int64_t>())
        return static_cast<double>(*whole);
    const auto* real = entry->second.as<double>();
    return real ? std::optional(*real) : std::nullopt;
}

inline std::optional<double> described(const Attributes& attributes, const char* key) {
    return number(figures({battery(attributes)}).sources.at(0), key);
}

inline std::optional<double> property(const Attributes& attributes, const char* key) {
    return number(figures({battery(attributes)}).battery.value(), key);
}

inline std::optional<bool> flag(const PropertyList::Dictionary& figures, const char* key) {
    const auto entry = figures.find(key);
    const bool* value = entry == figures.end() ? nullptr : entry->second.as<bool>();
    return value ? std::optional(*value) : std::nullopt;
}

} // namespace sentrel::platform
