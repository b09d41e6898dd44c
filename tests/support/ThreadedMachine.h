// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/scripted/ScriptedPlatform.h>

#include <memory>

namespace sentrel {

/// A scripted machine whose queues are real ones, in force for a scope. What runs on the background queue runs on other
/// threads: set up before what they read.
class ThreadedMachine {
public:
    ThreadedMachine() = default;
    ~ThreadedMachine() { platform_.queues.reset(); } // waits for what still runs
    ThreadedMachine(const ThreadedMachine&) = delete;
    ThreadedMachine& operator=(const ThreadedMachine&) = delete;

    platform::ScriptedPlatform* operator->() noexcept { return &platform_.rest; }

private:
    struct WithThreads final : platform::Platform {
        platform::Clock& clock() noexcept override { return rest.clock(); }
        platform::Dispatch& dispatch() noexcept override { return *queues; }
        platform::HostService& host() noexcept override { return rest.host(); }
        platform::GraphicsService& graphics() noexcept override { return rest.graphics(); }
        platform::VolumeService& volumes() noexcept override { return rest.volumes(); }
        platform::NetworkService& network() noexcept override { return rest.network(); }
        platform::PowerService& power() noexcept override { return rest.power(); }
        platform::ProcessService& processes() noexcept override { return rest.processes(); }
        platform::Desktop& desktop() noexcept override { return rest.desktop(); }
        platform::PreferenceStore& preferences() noexcept override { return rest.preferences(); }

        platform::ScriptedPlatform rest;
        std::unique_ptr<platform::LinuxDispatch> queues = std::make_unique<platform::LinuxDispatch>();
    };

    WithThreads platform_;
    platform::Override override_{platform_};
};

} // namespace sentrel
