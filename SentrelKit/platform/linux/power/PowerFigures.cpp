// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerFigures.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace sentrel::platform {

namespace {

using Status = BatterySupply::Status;

constexpr double noisePower = 100'000.0;  // µW
constexpr double noiseCurrent = 10'000.0; // µA

std::optional<double> chargeOf(const std::optional<double>& charge, const std::optional<double>& energy,
                               const BatterySupply& battery) {
    if (charge)
        return charge;
    if (energy && battery.voltageDesign)
        return *energy * 1e6 / *battery.voltageDesign;
    return std::nullopt;
}

// The battery in microampere-hours and microamperes, whichever unit its driver counts in.
struct Charges {
    std::optional<double> now;
    std::optional<double> full;
    std::optional<double> design;
    std::optional<double> current;
};

Charges charges(const BatterySupply& battery) {
    Charges result;
    result.now = chargeOf(battery.chargeNow, battery.energyNow, battery);
    result.full = chargeOf(battery.chargeFull, battery.energyFull, battery);
    result.design = chargeOf(battery.chargeDesign, battery.energyDesign, battery);
    if (!result.now && result.full && battery.percent)
        result.now = *result.full * *battery.percent / 100.0;
    result.current = battery.current;
    const auto& voltage = battery.voltage ? battery.voltage : battery.voltageDesign;
    if (!result.current && battery.power && voltage)
        result.current = *battery.power * 1e6 / *voltage;
    return result;
}

std::int64_t thousandths(double millionths) {
    return std::llround(millionths / 1000.0);
}

// Whole minutes that an amount lasts at a rate an hour; absent where either is missing, the rate is noise, or the time
// is longer than a battery can say.
std::optional<std::int64_t> minutes(std::optional<double> amount, std::optional<double> rate, double noise) {
    if (!amount || !rate || *rate < noise)
        return std::nullopt;
    const double time = std::max(*amount, 0.0) / *rate * 60.0;
    return time < 65535.0 ? std::optional<std::int64_t>(std::llround(time)) : std::nullopt;
}

std::optional<double> missing(const std::optional<double>& full, const std::optional<double>& now) {
    return full && now ? std::optional(*full - *now) : std::nullopt;
}

std::int64_t estimate(const std::optional<double>& seconds, std::optional<std::int64_t> byEnergy,
                      std::optional<std::int64_t> byCharge) {
    if (seconds)
        return std::llround(*seconds / 60.0);
    return byEnergy ? *byEnergy : byCharge.value_or(-1);
}

std::int64_t minutesToEmpty(const BatterySupply& battery, const Charges& charge) {
    return estimate(battery.timeToEmpty, minutes(battery.energyNow, battery.power, noisePower),
                    minutes(charge.now, charge.current, noiseCurrent));
}

std::int64_t minutesToFull(const BatterySupply& battery, const Charges& charge) {
    return estimate(battery.timeToFull,
                    minutes(missing(battery.energyFull, battery.energyNow), battery.power, noisePower),
                    minutes(missing(charge.full, charge.now), charge.current, noiseCurrent));
}

void addCapacity(PropertyList::Dictionary& description, const BatterySupply& battery) {
    const std::pair<std::optional<double>, std::optional<double>> pairs[] = {
        {battery.chargeNow, battery.chargeFull}, {battery.energyNow, battery.energyFull}, {battery.percent, 100.0}};
    for (const auto& [now, full] : pairs)
        if (now && full) {
            description["Current Capacity"] = std::min(*now, *full);
            description["Max Capacity"] = *full;
            return;
        }
}

PropertyList::Dictionary describe(const BatterySupply& battery, std::optional<bool> connected) {
    const Charges charge = charges(battery);
    const bool charging = battery.status == Status::charging;
    const bool discharging = battery.present && (battery.status == Status::discharging ||
                                                 (battery.status == Status::unknown && !connected.value_or(false)));
    PropertyList::Dictionary description;
    description["Is Charged"] = battery.status == Status::full;
    description["Is Charging"] = charging;
    description["Time to Empty"] = discharging ? minutesToEmpty(battery, charge) : 0;
    description["Time to Full Charge"] = charging ? minutesToFull(battery, charge) : 0;
    if (battery.health)
        description["BatteryHealthCondition"] = *battery.health;
    if (charge.current)
        description["Current"] = thousandths(discharging ? -*charge.current : *charge.current);
    addCapacity(description, battery);
    return description;
}

void addCharge(PropertyList::Dictionary& properties, const char* key, const std::optional<double>& charge) {
    if (charge)
        properties[key] = thousandths(*charge);
}

void addMakingDate(PropertyList::Dictionary& properties, const BatterySupply& battery) {
    if (!battery.madeYear)
        return;
    const std::int64_t packed = (*battery.madeYear - 1980) * 512 + battery.madeMonth * 32 + battery.madeDay;
    if (packed != 0)
        properties["ManufactureDate"] = packed;
}

PropertyList::Dictionary registry(const BatterySupply& battery, std::optional<bool> connected) {
    PropertyList::Dictionary properties;
    properties["BatteryInstalled"] = battery.present;
    if (connected)
        properties["ExternalConnected"] = *connected;
    if (!battery.present)
        return properties;
    const Charges charge = charges(battery);
    properties["IsCharging"] = battery.status == Status::charging;
    addCharge(properties, "CurrentCapacity", charge.now);
    addCharge(properties, "MaxCapacity", charge.full);
    addCharge(properties, "DesignCapacity", charge.design);
    if (battery.cycles)
        properties["CycleCount"] = *battery.cycles;
    if (battery.voltage)
        properties["Voltage"] = thousandths(*battery.voltage);
    if (battery.temperature)
        properties["Temperature"] = std::int64_t{std::llround(*battery.temperature * 10.0)};
    addMakingDate(properties, battery);
    return properties;
}

std::optional<bool> adapterConnected(const std::vector<AdapterSupply>& adapters, const BatterySupply& first) {
    if (!adapters.empty())
        return std::any_of(adapters.begin(), adapters.end(), [](const AdapterSupply& a) { return a.online; });
    switch (first.status) {
    case Status::charging:
    case Status::notCharging:
    case Status::full:
        return true;
    case Status::discharging:
        return false;
    case Status::unknown:
        break;
    }
    return std::nullopt;
}

std::optional<PropertyList::Dictionary> adapterDetails(const std::vector<AdapterSupply>& adapters) {
    std::optional<PropertyList::Dictionary> details;
    std::int64_t most = 0;
    for (const AdapterSupply& adapter : adapters) {
        if (!adapter.online)
            continue;
        if (!details)
            details.emplace();
        if (adapter.voltage && adapter.current) {
            most = std::max<std::int64_t>(most, std::llround(*adapter.voltage * *adapter.current / 1e12));
            (*details)["Watts"] = most;
        }
    }
    return details;
}

} // namespace

PowerFigures powerFigures(const PowerSupplies& supplies) {
    PowerFigures figures;
    figures.adapter = adapterDetails(supplies.adapters);
    if (supplies.batteries.empty())
        return figures;
    std::vector<const BatterySupply*> batteries;
    for (const BatterySupply& battery : supplies.batteries)
        batteries.push_back(&battery);
    std::stable_partition(batteries.begin(), batteries.end(), [](const BatterySupply* b) { return b->present; });
    const std::optional<bool> connected = adapterConnected(supplies.adapters, *batteries.front());
    for (const BatterySupply* battery : batteries)
        figures.sources.push_back(describe(*battery, connected));
    figures.battery = registry(*batteries.front(), connected);
    return figures;
}

} // namespace sentrel::platform
