// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/Settings.h"

#include <SentrelKit/settings/SharedDefaults.h>

#include <optional>
#include <string>

namespace dashboard {

using namespace sentrel;

namespace {

// The key that the library itself reads: 0 is Celsius, anything else Fahrenheit.
constexpr const char* temperature = "temperature";

DefaultsKey<std::optional<bool>> keyOf(Group group) {
    return DefaultsKey<std::optional<bool>>(std::string("samples") + nameOf(group));
}

} // namespace

const char* nameOf(Group group) {
    switch (group) {
    case Group::processor:
        return "Processor";
    case Group::memory:
        return "Memory";
    case Group::network:
        return "Network";
    case Group::volumes:
        return "Volumes";
    case Group::applications:
        return "Applications";
    }
    return "";
}

Settings::Settings() : own_("org.sentrelkit.Dashboard") {
    for (const Group group : allGroups)
        samples_.at(static_cast<std::size_t>(group)) = own_.get(keyOf(group)).value_or(true);
}

Settings Settings::ofEverything() {
    Settings settings;
    settings.samples_.fill(true);
    return settings;
}

bool Settings::usesFahrenheit() const {
    return sharedDefaults()[temperature].intValue() != 0;
}

void Settings::setUsesFahrenheit(bool usesFahrenheit) const {
    sharedDefaults().set(DefaultsKey<std::int64_t>(temperature), usesFahrenheit ? 1 : 0);
}

void Settings::setSamples(Group group, bool samples) {
    samples_.at(static_cast<std::size_t>(group)) = samples;
    own_.set(keyOf(group), samples);
}

} // namespace dashboard
