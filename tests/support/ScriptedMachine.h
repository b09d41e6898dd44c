#pragma once

#include <SentrelKit/platform/scripted/ScriptedPlatform.h>
#include <SentrelKit/probes/SystemManager.h>

#include <optional>

namespace sentrel {

/// A scripted machine in force for a scope, with a system manager of its own. Set the machine up through a
/// ScriptedPlatform first where the manager's creation must see it.
class ScriptedMachine {
public:
    ScriptedMachine() { probes::_constructor(); }
    ~ScriptedMachine() {
        override_.reset();
        probes::_constructor(); // the real machine's again
    }
    ScriptedMachine(const ScriptedMachine&) = delete;
    ScriptedMachine& operator=(const ScriptedMachine&) = delete;

    platform::ScriptedPlatform* operator->() noexcept { return &platform_; }
    platform::ScriptedPlatform& operator*() noexcept { return platform_; }

private:
    platform::ScriptedPlatform platform_;
    std::optional<platform::Override> override_{platform_};
};

} // namespace sentrel
