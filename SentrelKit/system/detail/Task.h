// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/System.h>
#include <SentrelKit/system/detail/SamplingTimer.h>

#include <memory>

namespace sentrel {

/// A timer that samples one resource of the registry.
class Task final : public SamplingTimer {
public:
    /// A stopped task that samples the resource every `interval` seconds on the queue.
    Task(double interval, DispatchQueue& queue, std::shared_ptr<SystemResource> resource, System::Group group,
         bool delayed);

    [[nodiscard]] double interval() const noexcept { return interval_; }                 ///< seconds
    [[nodiscard]] const SystemResource& resource() const noexcept { return *resource_; } ///< what it samples
    [[nodiscard]] System::Group group() const noexcept { return group_; } ///< which start by group means it

    /// A delayed task starts only by its resource, never by its group.
    [[nodiscard]] bool delayed() const noexcept { return delayed_; }

private:
    double interval_; // seconds
    bool delayed_;
    std::shared_ptr<SystemResource> resource_;
    System::Group group_;
};

} // namespace sentrel
