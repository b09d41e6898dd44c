// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/scripted/CompositePlatform.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

namespace sentrel {

/// A scripted machine in force for a scope: what a test begins with. It is set up and asked through the pointer:
/// `machine->host().brandValue = "Brand"`, `machine->advance(1.1)`. Made and released on one thread, and nested ones in
/// reverse order, as platform::Override says. Where the making of the probes' session must see the set-up, set a
/// platform::ScriptedPlatform up and put it in force with an override instead.
class ScriptedMachine {
public:
    /// A machine as made, some of its services replaced by others, which outlive it.
    explicit ScriptedMachine(const platform::ReplacedServices& replaced = {}) : platform_(scripted_, replaced) {}

    /// The machine.
    platform::ScriptedPlatform* operator->() noexcept { return &scripted_; }
    /// The machine.
    platform::ScriptedPlatform& operator*() noexcept { return scripted_; }

private:
    platform::ScriptedPlatform scripted_;
    platform::CompositePlatform platform_;
    platform::Override override_{platform_};
};

} // namespace sentrel
