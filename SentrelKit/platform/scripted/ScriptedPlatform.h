// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A whole machine made of values, with a virtual clock and virtual queues: for tests of models and of widgets, and for
/// demos. Each service answers what its values say, records every call and can be made to fail (ScriptedCalls). Set up
/// on one thread, that of the test, which also moves the clock on; a service says what other threads may do.

#include <SentrelKit/platform/Platform.h>
#include <SentrelKit/platform/scripted/ScriptedDesktop.h>
#include <SentrelKit/platform/scripted/ScriptedDispatch.h>
#include <SentrelKit/platform/scripted/ScriptedGraphicsService.h>
#include <SentrelKit/platform/scripted/ScriptedHostService.h>
#include <SentrelKit/platform/scripted/ScriptedNetworkService.h>
#include <SentrelKit/platform/scripted/ScriptedPowerService.h>
#include <SentrelKit/platform/scripted/ScriptedPreferenceStore.h>
#include <SentrelKit/platform/scripted/ScriptedProcessService.h>
#include <SentrelKit/platform/scripted/ScriptedSensorService.h>
#include <SentrelKit/platform/scripted/ScriptedVolumeService.h>

namespace sentrel::platform {

/// The machine. Its services are set up and asked through the members that every platform has.
class SENTREL_API ScriptedPlatform final : public Platform {
public:
    ScriptedPlatform() = default;
    /// Releases the closures that never ran, while what they hold can still reach the machine.
    ~ScriptedPlatform() override { dispatch_.clear(); }
    ScriptedPlatform(const ScriptedPlatform&) = delete;
    ScriptedPlatform& operator=(const ScriptedPlatform&) = delete;

    ScriptedClock& clock() noexcept override { return clock_; }
    ScriptedDispatch& dispatch() noexcept override { return dispatch_; }
    ScriptedHostService& host() noexcept override { return host_; }
    ScriptedGraphicsService& graphics() noexcept override { return graphics_; }
    ScriptedVolumeService& volumes() noexcept override { return volumes_; }
    ScriptedNetworkService& network() noexcept override { return network_; }
    ScriptedPowerService& power() noexcept override { return power_; }
    ScriptedProcessService& processes() noexcept override { return processes_; }
    ScriptedSensorService& sensors() noexcept override { return sensors_; }
    ScriptedDesktop& desktop() noexcept override { return desktop_; }
    ScriptedPreferenceStore& preferences() noexcept override { return preferences_; }

    /// Moves the virtual clock on by so many seconds; what comes due on the way runs on this thread, at its time. An
    /// exception of a closure passes through.
    void advance(double seconds) { dispatch_.advance(seconds); }

private:
    ScriptedClock clock_;
    ScriptedDispatch dispatch_{clock_};
    ScriptedHostService host_;
    ScriptedGraphicsService graphics_;
    ScriptedVolumeService volumes_;
    ScriptedNetworkService network_{dispatch_};
    ScriptedPowerService power_;
    ScriptedProcessService processes_;
    ScriptedSensorService sensors_;
    ScriptedDesktop desktop_;
    ScriptedPreferenceStore preferences_;
};

} // namespace sentrel::platform
