// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/ProcessService.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <optional>

namespace sentrel {

/// A scripted machine with another process service, in force for a scope.
class ProcessMachine {
public:
    explicit ProcessMachine(platform::ProcessService& service) : platform_(service) {}

    platform::ScriptedPlatform& scripted() noexcept { return platform_.rest; }

private:
    struct WithProcesses final : platform::Platform {
        explicit WithProcesses(platform::ProcessService& processes) : service(processes) {}

        platform::Clock& clock() noexcept override { return rest.clock(); }
        platform::Dispatch& dispatch() noexcept override { return rest.dispatch(); }
        platform::HostService& host() noexcept override { return rest.host(); }
        platform::GraphicsService& graphics() noexcept override { return rest.graphics(); }
        platform::VolumeService& volumes() noexcept override { return rest.volumes(); }
        platform::NetworkService& network() noexcept override { return rest.network(); }
        platform::PowerService& power() noexcept override { return rest.power(); }
        platform::ProcessService& processes() noexcept override { return service; }
        platform::Desktop& desktop() noexcept override { return rest.desktop(); }
        platform::PreferenceStore& preferences() noexcept override { return rest.preferences(); }

        platform::ScriptedPlatform rest;
        platform::ProcessService& service;
    };

    WithProcesses platform_;
    platform::Override override_{platform_};
};

} // namespace sentrel
