#pragma once

#include <SentrelKit/platform/ProcessService.h>

#include <functional>
#include <memory>

namespace sentrel::platform {

/// The registered observers of a process service. Any thread.
class SENTREL_API RunningApplicationsObservers {
public:
    using SharedSet = std::shared_ptr<const RunningApplications>;

    RunningApplicationsObservers();
    ~RunningApplicationsObservers();
    RunningApplicationsObservers(const RunningApplicationsObservers&) = delete;
    RunningApplicationsObservers& operator=(const RunningApplicationsObservers&) = delete;

    [[nodiscard]] std::unique_ptr<RunningApplicationsObservation> add(RunningApplicationsObserver observer);

    /// Asks for the set and tells it to those that have not heard this one, one observer at a time. Asking is a part of
    /// the turn, so that nobody hears an older set after a newer.
    void tell(const std::function<SharedSet()>& currentSet);

private:
    class Registration;
    struct List;
    std::shared_ptr<List> list_;
};

} // namespace sentrel::platform
