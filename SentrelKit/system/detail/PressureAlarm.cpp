// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/detail/PressureAlarm.h>

#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/HostService.h>

#include <cerrno>
#include <utility>

namespace sentrel {

PressureAlarm::PressureAlarm(std::shared_ptr<probes::SystemManager> session, PressureResource resource)
    : session_(std::move(session)), resource_(resource) {}

Availability PressureAlarm::set(const std::optional<PressureThreshold>& threshold) {
    observation_.reset();
    current_.reset();
    if (!threshold)
        return Availability::available;
    current_ = std::make_shared<char>();
    const auto tell = [queue = session_->platform().dispatch().mainQueue(), mark = std::weak_ptr<char>(current_),
                       signal = std::weak_ptr<Signal<void>>(crossed_)] {
        queue->async([mark, signal] {
            const std::shared_ptr<Signal<void>> alive = signal.lock();
            if (alive && mark.lock())
                alive->fire();
        });
    };
    observation_ = session_->platform().host().observePressure(resource_, *threshold, tell);
    if (observation_)
        return Availability::available;
    const Availability reason = platform::availabilityOf(errno);
    current_.reset();
    return reason;
}

} // namespace sentrel
