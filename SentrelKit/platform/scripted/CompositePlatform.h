// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A machine with single services replaced.

#include <SentrelKit/platform/Platform.h>

namespace sentrel::platform {

/// Services that take the place of a machine's own ones; null leaves its own. They are not owned and outlive every use.
struct ReplacedServices {
    Clock* clock = nullptr;                 ///< the clocks
    Dispatch* dispatch = nullptr;           ///< the queues and the main loop
    HostService* host = nullptr;            ///< the host
    GraphicsService* graphics = nullptr;    ///< the graphics processors
    VolumeService* volumes = nullptr;       ///< disks and mounted volumes
    NetworkService* network = nullptr;      ///< the network
    PowerService* power = nullptr;          ///< power sources
    ProcessService* processes = nullptr;    ///< processes
    SensorService* sensors = nullptr;       ///< sensors
    Desktop* desktop = nullptr;             ///< the desktop
    PreferenceStore* preferences = nullptr; ///< the suites of preferences
};

/// A platform whose services are those of another one, but for the replaced ones. Any thread.
class SENTREL_API CompositePlatform final : public Platform {
public:
    /// The machine behind it, which outlives this one, and what is replaced of it.
    explicit CompositePlatform(Platform& machine, const ReplacedServices& replaced = {})
        : machine_(machine), replaced_(replaced) {}

    Clock& clock() noexcept override { return replaced_.clock ? *replaced_.clock : machine_.clock(); }
    Dispatch& dispatch() noexcept override { return replaced_.dispatch ? *replaced_.dispatch : machine_.dispatch(); }
    HostService& host() noexcept override { return replaced_.host ? *replaced_.host : machine_.host(); }
    GraphicsService& graphics() noexcept override {
        return replaced_.graphics ? *replaced_.graphics : machine_.graphics();
    }
    VolumeService& volumes() noexcept override { return replaced_.volumes ? *replaced_.volumes : machine_.volumes(); }
    NetworkService& network() noexcept override { return replaced_.network ? *replaced_.network : machine_.network(); }
    PowerService& power() noexcept override { return replaced_.power ? *replaced_.power : machine_.power(); }
    ProcessService& processes() noexcept override {
        return replaced_.processes ? *replaced_.processes : machine_.processes();
    }
    SensorService& sensors() noexcept override { return replaced_.sensors ? *replaced_.sensors : machine_.sensors(); }
    Desktop& desktop() noexcept override { return replaced_.desktop ? *replaced_.desktop : machine_.desktop(); }
    PreferenceStore& preferences() noexcept override {
        return replaced_.preferences ? *replaced_.preferences : machine_.preferences();
    }

private:
    Platform& machine_;
    const ReplacedServices replaced_;
};

} // namespace sentrel::platform
