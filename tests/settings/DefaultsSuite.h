// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ConfigurationFolder.h"

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/settings/UserDefaults.h>

#include <gtest/gtest.h>
#include <optional>

namespace sentrel {

inline constexpr const char* suiteName = "test.suite";

/// The same behaviour on a suite in memory and on a file.
class DefaultsSuite : public testing::TestWithParam<bool> {
protected:
    DefaultsSuite() {
        if (GetParam())
            scriptedOverride.emplace(machine);
        defaults.emplace(suiteName);
    }

    ConfigurationFolder folder;
    platform::ScriptedPlatform machine;
    std::optional<platform::Override> scriptedOverride;
    std::optional<UserDefaults> defaults;
};

} // namespace sentrel
