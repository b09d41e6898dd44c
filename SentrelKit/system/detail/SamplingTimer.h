// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Observation.h>
#include <SentrelKit/platform/support/Observer.h>
#include <SentrelKit/system/Timer.h>

#include <functional>
#include <memory>
#include <utility>

namespace sentrel {

/// A timer that takes samples and tells observers after each.
class SamplingTimer : public Timer {
public:
    /// A stopped timer that samples every `interval` seconds on the queue.
    SamplingTimer(double interval, DispatchQueue& queue, std::function<void()> sample)
        : SamplingTimer(interval, queue, std::move(sample), std::make_shared<Samples>()) {}

    /// Registers an observer of the samples, told after each one on the thread that took it. Any thread.
    [[nodiscard]] Observation observeSamples(std::function<void()> observer) {
        return samples_->add([observer = std::move(observer)](platform::Change) { observer(); });
    }

private:
    using Samples = platform::Observers<platform::Change>;

    SamplingTimer(double interval, DispatchQueue& queue, std::function<void()> sample, std::shared_ptr<Samples> samples)
        : Timer(interval, queue,
                [sample = std::move(sample), samples] {
                    sample();
                    samples->post({});
                    samples->tell();
                }),
          samples_(std::move(samples)) {}

    const std::shared_ptr<Samples> samples_; // with the closure, whose last call may outlive the timer
};

} // namespace sentrel
