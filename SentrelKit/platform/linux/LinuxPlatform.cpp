// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include <SentrelKit/platform/detail/Native.h>
#include <SentrelKit/platform/linux/desktop/LinuxDesktop.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/graphics/LinuxGraphicsService.h>
#include <SentrelKit/platform/linux/host/LinuxClock.h>
#include <SentrelKit/platform/linux/host/LinuxHostService.h>
#include <SentrelKit/platform/linux/network/LinuxNetworkService.h>
#include <SentrelKit/platform/linux/power/LinuxPowerService.h>
#include <SentrelKit/platform/linux/preferences/LinuxPreferenceStore.h>
#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>
#include <SentrelKit/platform/linux/sensors/LinuxSensorService.h>
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>

#include <utility>

namespace sentrel::platform {

struct LinuxPlatform::Services {
    explicit Services(SystemRoot systemRoot) : root(std::move(systemRoot)) {}

    SystemRoot root;
    LinuxClock clock;
    LinuxDispatch dispatch;
    LinuxHostService host{root, &dispatch};
    LinuxGraphicsService graphics{root};
    LinuxVolumeService volumes{root, dispatch};
    LinuxNetworkService network{root, dispatch};
    LinuxPowerService power{root};
    LinuxProcessService processes{root};
    LinuxSensorService sensors{root};
    LinuxDesktop desktop{dispatch};
    LinuxPreferenceStore preferences;
};

LinuxPlatform::LinuxPlatform(const SystemRoot& root) : services_(std::make_unique<Services>(root)) {}
LinuxPlatform::~LinuxPlatform() = default;

Clock& LinuxPlatform::clock() noexcept {
    return services_->clock;
}
Dispatch& LinuxPlatform::dispatch() noexcept {
    return services_->dispatch;
}
HostService& LinuxPlatform::host() noexcept {
    return services_->host;
}
GraphicsService& LinuxPlatform::graphics() noexcept {
    return services_->graphics;
}
VolumeService& LinuxPlatform::volumes() noexcept {
    return services_->volumes;
}
NetworkService& LinuxPlatform::network() noexcept {
    return services_->network;
}
PowerService& LinuxPlatform::power() noexcept {
    return services_->power;
}
ProcessService& LinuxPlatform::processes() noexcept {
    return services_->processes;
}
SensorService& LinuxPlatform::sensors() noexcept {
    return services_->sensors;
}
Desktop& LinuxPlatform::desktop() noexcept {
    return services_->desktop;
}
PreferenceStore& LinuxPlatform::preferences() noexcept {
    return services_->preferences;
}

Platform& makeNative() {
    // Never destroyed: background threads may use it until the process is gone.
    static LinuxPlatform& machine = *new LinuxPlatform;
    return machine;
}

} // namespace sentrel::platform
