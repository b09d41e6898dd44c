// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Settings.h"

#include <SentrelKit/system/System.h>
#include <SentrelKit/system/Timer.h>

#include <functional>

namespace dashboard {

/// Samples what the settings name, and calls once a second while it does. A host starts it while somebody looks. Main
/// thread.
class Sampler {
public:
    /// The registry and the settings outlive it.
    Sampler(sentrel::System& system, const Settings& settings, std::function<void()> tick);
    ~Sampler();
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;

    /// The first time, a round of samples before gives all figures, and the rates their beginning.
    void start();
    void stop();

    /// Follows the settings while it samples.
    void settingsChanged();

private:
    void startTasks();

    sentrel::System& system_;
    const Settings& settings_;
    sentrel::Timer timer_;
    bool isRunning_ = false;
    bool hasSampled_ = false;
};

} // namespace dashboard
