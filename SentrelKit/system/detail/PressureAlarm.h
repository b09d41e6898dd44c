// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/Pressure.h>
#include <SentrelKit/probes/SystemManager.h>
#include <SentrelKit/system/Signal.h>

#include <memory>
#include <optional>

namespace sentrel {

/// A model's word of pressure that crosses a threshold: the machine tells, and the signal fires on the main queue.
/// Everything belongs to the main thread.
class SENTREL_API PressureAlarm {
public:
    /// Watches nothing yet.
    PressureAlarm(std::shared_ptr<probes::SystemManager> session, PressureResource resource);

    /// Watches with another threshold, or no longer. What the machine said: available, or why it is not watched now.
    Availability set(const std::optional<PressureThreshold>& threshold);

    /// Fires each time. None of a threshold that was replaced.
    [[nodiscard]] Signal<void>& crossed() const noexcept { return *crossed_; }

private:
    const std::shared_ptr<probes::SystemManager> session_;
    const PressureResource resource_;
    const std::shared_ptr<Signal<void>> crossed_ = std::make_shared<Signal<void>>();
    std::shared_ptr<char> current_; // the threshold in force, for closures on their way to the main queue
    Observation observation_;
};

} // namespace sentrel
