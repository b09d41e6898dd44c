// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/probes/BatteryProbes.h>

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/base/system/System.h>
#include <SentrelKit/base/system/Time.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/PowerService.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace sentrel::probes {

namespace {

using platform::PowerService;

// The texts of the date that was unpacked last.
struct DateTexts {
    std::array<char, 65> manufactured;
    std::array<char, 65> age;
};

// The sources of changes, which end with their session.
struct ChangeSources {
    Lock lock;
    std::vector<Observation> observations SENTREL_GUARDED_BY(lock);
};

// Toward zero; the smallest integer stands for everything that does not fit, as the processor's own conversion does.
std::int32_t truncated(double value) {
    constexpr double least = std::numeric_limits<std::int32_t>::min();
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    const double whole = std::trunc(value);
    return whole >= least && whole <= most ? static_cast<std::int32_t>(whole)
                                           : std::numeric_limits<std::int32_t>::min();
}

const PropertyList* find(const PropertyList::Dictionary& entries, std::string_view key) {
    const auto entry = entries.find(key);
    return entry == entries.end() ? nullptr : &entry->second;
}

// The low 32 bits of an integer, a double toward zero; 0 for another kind or a missing entry.
std::int32_t integer(const PropertyList* value) {
    if (!value)
        return 0;
    if (const auto* number = value->as<std::int64_t>())
        return static_cast<std::int32_t>(*number);
    if (const auto* number = value->as<double>())
        return truncated(*number);
    return 0;
}

double real(const PropertyList* value) {
    if (!value)
        return 0;
    if (const auto* number = value->as<std::int64_t>())
        return static_cast<double>(*number);
    const auto* number = value->as<double>();
    return number ? *number : 0;
}

std::uint8_t boolean(const PropertyList* value) {
    const bool* flag = value ? value->as<bool>() : nullptr;
    return flag && *flag ? 1 : 0;
}

std::int32_t adapterWatts(PowerService& power) {
    const auto details = power.externalAdapterDetails();
    return details ? integer(find(*details, "Watts")) : 0;
}

const char* monthName(unsigned month) {
    static constexpr const char* names = "JanFebMarAprMayJunJulAugSepOctNovDec";
    if (month > 12)
        return "";
    return names + (month == 0 ? 0 : month * 3 - 3);
}

} // namespace

void _getBatteryData(const PowerSourcesBlock& block, SystemManager& session) {
    PowerService& power = session.platform().power();
    const std::unique_ptr<platform::PowerSourcesInfo> info = power.powerSources();
    if (!info || info->count().value_or(0) == 0)
        return;
    const std::optional<PropertyList::Dictionary> source = info->description(0);
    if (!source)
        return;
    const PropertyList* condition = find(*source, "BatteryHealthCondition");
    const std::string* health = condition ? condition->as<std::string>() : nullptr;
    const BatteryData data{
        .health = health ? health->c_str() : "Normal",
        .hasHealth = static_cast<std::uint8_t>(health ? 1 : 0),
        .timeToEmpty = integer(find(*source, "Time to Empty")),
        .timeToFull = integer(find(*source, "Time to Full Charge")),
        .isCharged = boolean(find(*source, "Is Charged")),
        .isCharging = boolean(find(*source, "Is Charging")),
        .current = integer(find(*source, "Current")),
        .percent = truncated(real(find(*source, "Current Capacity")) / real(find(*source, "Max Capacity")) * 100),
        .watts = adapterWatts(power),
    };
    block(&data);
}

void _batteryNotification(const PowerSourcesBlock& block, SystemManager& session) {
    session.setPowerSources(block);
    _getBatteryData(block, session);
    Observation observation = session.platform().power().observe([weak = session.weak_from_this()] {
        if (const std::shared_ptr<SystemManager> changed = weak.lock())
            _powerSourceChangedAdapter(changed.get());
    });
    if (!observation) {
        System_error("Error: power source notification -- %s\n", System_getLastError());
        return;
    }
    auto& sources = session.shared<ChangeSources>();
    const LockScope scope(sources.lock);
    sources.observations.push_back(std::move(observation));
}

void _powerSourceChangedAdapter(void* context) {
    const std::shared_ptr<SystemManager> changed =
        context ? static_cast<SystemManager*>(context)->shared_from_this() : session();
    const PowerSourcesBlock block = changed->powerSources();
    if (!block)
        assertionFailed("System->swiftPowerSources", __func__, "SentrelKit", __LINE__);
    _getBatteryData(block, *changed);
}

std::pair<const char*, const char*>* _unpackBatteryDate(std::int32_t packed, std::pair<const char*, const char*>* pair,
                                                        SystemManager& session) {
    auto& [manufactured, age] = session.shared<DateTexts>();

    const auto bits = static_cast<std::uint32_t>(packed);
    const auto day = static_cast<std::int32_t>(bits & 31);
    const auto month = static_cast<std::int32_t>((bits >> 5) & 15);
    const auto year = static_cast<std::int32_t>(bits >> 9) + 1980;
    std::snprintf(manufactured.data(), manufactured.size(), "%d %.3s %d", day, monthName(static_cast<unsigned>(month)),
                  year);

    const std::int64_t built = Time_build(year, month == 0 ? 1 : month, day == 0 ? 1 : day, 0, 0, 0);
    const double years = static_cast<double>(Time_daysBetween(Time_now(session.platform().clock()), built)) / 365.0;
    // The decimal point is a point whatever locale the host set.
    char number[32];
    const int length = std::snprintf(number, sizeof number, "%.1f", years);
    const auto whole = static_cast<int>(std::strspn(number, "0123456789"));
    std::snprintf(age.data(), age.size(), "%.*s.%c years", whole, number, number[length - 1]);

    *pair = {age.data(), manufactured.data()};
    return pair;
}

} // namespace sentrel::probes
