// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/EnvironmentValue.h"
#include "tests/support/TemporaryFolder.h"

namespace sentrel {

/// A new, empty configuration folder for a scope: XDG_CONFIG_HOME leads there.
class ConfigurationFolder {
public:
    const TemporaryFolder* operator->() const noexcept { return &folder_; }

private:
    TemporaryFolder folder_;
    EnvironmentValue variable_{"XDG_CONFIG_HOME", folder_.path()};
};

} // namespace sentrel
