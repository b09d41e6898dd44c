// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/ProcessService.h>

#include <functional>
#include <memory>

namespace sentrel::platform {

/// The registered observers of a process service. Any thread.
class SENTREL_API RunningApplicationsObservers {
public:
    /// A set that nobody changes any more; observers share it.
    using SharedSet = std::shared_ptr<const RunningApplications>;

    RunningApplicationsObservers();
    ~RunningApplicationsObservers();
    RunningApplicationsObservers(const RunningApplicationsObservers&) = delete;
    RunningApplicationsObservers& operator=(const RunningApplicationsObservers&) = delete;

    /// Registers an observer until the returned observation is released.
    [[nodiscard]] std::unique_ptr<RunningApplicationsObservation> add(RunningApplicationsObserver observer);

    /// Asks for the set and tells it to those that have not heard this one. Asking goes on under a lock, so that nobody
    /// hears an older set after a newer; the observers run under none.
    void tell(const std::function<SharedSet()>& currentSet);

private:
    class Registration;
    struct List;
    std::shared_ptr<List> list_;
};

} // namespace sentrel::platform
