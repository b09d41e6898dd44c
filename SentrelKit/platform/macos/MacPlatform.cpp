// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/MacPlatform.h>

#include <SentrelKit/platform/macos/desktop/MacDesktop.h>
#include <SentrelKit/platform/macos/dispatch/MacDispatch.h>
#include <SentrelKit/platform/macos/graphics/MacGraphicsService.h>
#include <SentrelKit/platform/macos/host/MacClock.h>
#include <SentrelKit/platform/macos/host/MacHostService.h>
#include <SentrelKit/platform/macos/network/MacNetworkService.h>
#include <SentrelKit/platform/macos/power/MacPowerService.h>
#include <SentrelKit/platform/macos/preferences/MacPreferenceStore.h>
#include <SentrelKit/platform/macos/processes/MacProcessService.h>
#include <SentrelKit/platform/macos/sensors/MacSensorService.h>
#include <SentrelKit/platform/macos/volumes/MacVolumeService.h>

namespace sentrel::platform {

struct MacPlatform::Services {
    MacClock clock;
    MacDispatch dispatch;
    MacHostService host;
    MacGraphicsService graphics;
    MacVolumeService volumes;
    MacNetworkService network;
    MacPowerService power;
    MacProcessService processes;
    MacSensorService sensors;
    MacDesktop desktop;
    MacPreferenceStore preferences;
};

MacPlatform::MacPlatform() : services_(std::make_unique<Services>()) {}
MacPlatform::~MacPlatform() = default;

Clock& MacPlatform::clock() noexcept {
    return services_->clock;
}
Dispatch& MacPlatform::dispatch() noexcept {
    return services_->dispatch;
}
HostService& MacPlatform::host() noexcept {
    return services_->host;
}
GraphicsService& MacPlatform::graphics() noexcept {
    return services_->graphics;
}
VolumeService& MacPlatform::volumes() noexcept {
    return services_->volumes;
}
NetworkService& MacPlatform::network() noexcept {
    return services_->network;
}
PowerService& MacPlatform::power() noexcept {
    return services_->power;
}
ProcessService& MacPlatform::processes() noexcept {
    return services_->processes;
}
SensorService& MacPlatform::sensors() noexcept {
    return services_->sensors;
}
Desktop& MacPlatform::desktop() noexcept {
    return services_->desktop;
}
PreferenceStore& MacPlatform::preferences() noexcept {
    return services_->preferences;
}

} // namespace sentrel::platform
