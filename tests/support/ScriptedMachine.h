// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

namespace sentrel {

/// A scripted machine in force for a scope. Set the machine up through a ScriptedPlatform first where the creation of
/// the probes' session must see it.
class ScriptedMachine {
public:
    platform::ScriptedPlatform* operator->() noexcept { return &platform_; }
    platform::ScriptedPlatform& operator*() noexcept { return platform_; }

private:
    platform::ScriptedPlatform platform_;
    platform::Override override_{platform_};
};

} // namespace sentrel
