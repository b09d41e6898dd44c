// SPDX-License-Identifier: Apache-2.0
#include "examples/dashboard/SettingsPanel.h"

namespace dashboard {

using namespace sentrel;

SettingsPanel::SettingsPanel(Settings& settings, std::function<void()> changed)
    : Panel("Settings"), settings_(settings) {
    setSpacing(4);
    fahrenheit_ = add(std::make_shared<Switch>("Temperatures in Fahrenheit", [this, changed](bool isOn) {
        settings_.setUsesFahrenheit(isOn);
        changed();
    }));
    add(makeSpace(0, 2));
    add(makeLine(TextStyle::caption, "Sampled and shown"));
    for (const Group group : allGroups) {
        const auto choice = add(std::make_shared<Switch>(nameOf(group), [this, group, changed](bool isOn) {
            settings_.setSamples(group, isOn);
            changed();
        }));
        choice->setIsOn(settings_.samples(group));
    }
}

bool SettingsPanel::refresh() {
    fahrenheit_->setIsOn(settings_.usesFahrenheit()); // another program may have changed it
    return true;
}

} // namespace dashboard
