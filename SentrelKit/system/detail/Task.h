// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/system/System.h>
#include <SentrelKit/system/Timer.h>

#include <functional>
#include <memory>
#include <utility>

namespace sentrel {

/// A timer that samples one resource of the registry.
class Task final : public Timer {
public:
    /// A stopped task that samples the resource every `interval` seconds on the queue.
    Task(double interval, DispatchQueue& queue, std::shared_ptr<SystemResource> resource, System::Group group,
         bool delayed);

    [[nodiscard]] double interval() const noexcept { return interval_; }                 ///< seconds
    [[nodiscard]] const SystemResource& resource() const noexcept { return *resource_; } ///< what it samples
    [[nodiscard]] System::Group group() const noexcept { return group_; } ///< which start by group means it

    /// A delayed task starts only by its resource, never by its group.
    [[nodiscard]] bool delayed() const noexcept { return delayed_; }

    /// Registers an observer of the samples, told after each one on the thread that took it. Any thread.
    [[nodiscard]] Observation observeSamples(std::function<void()> observer) {
        return samples_->add([observer = std::move(observer)](platform::Change) { observer(); });
    }

private:
    using Samples = platform::Observers<platform::Change>;

    Task(double interval, DispatchQueue& queue, std::shared_ptr<SystemResource> resource, System::Group group,
         bool delayed, std::shared_ptr<Samples> samples);

    double interval_; // seconds
    bool delayed_;
    std::shared_ptr<SystemResource> resource_;
    System::Group group_;
    std::shared_ptr<Samples> samples_; // with the closure, whose last call may outlive the task
};

} // namespace sentrel
