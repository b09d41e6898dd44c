// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Controls.h"
#include "examples/dashboard/Panel.h"
#include "examples/dashboard/Settings.h"

#include <functional>
#include <memory>

namespace dashboard {

/// What the user may choose.
class SettingsPanel final : public Panel {
public:
    /// The settings outlive it; `changed` is called after each change.
    SettingsPanel(Settings& settings, std::function<void()> changed);
    bool refresh() override;

private:
    Settings& settings_;
    std::shared_ptr<Switch> fahrenheit_;
};

} // namespace dashboard
