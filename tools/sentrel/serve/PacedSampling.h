// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/Timer.h>

#include <chrono>
#include <functional>
#include <memory>

namespace tool {

/// Samples at a pace of its own, in place of a registry's task: every so often on the background queue, the first time
/// one interval after it was made. The end waits for a sample that is being taken. Made and ended on one thread.
class PacedSampling {
public:
    PacedSampling(std::chrono::duration<double> every, std::function<void()> sample);
    ~PacedSampling();
    PacedSampling(const PacedSampling&) = delete;
    PacedSampling& operator=(const PacedSampling&) = delete;

private:
    struct State;

    const std::shared_ptr<State> state_; // with the timer's closure, whose last call may outlive the timer
    std::unique_ptr<sentrel::Timer> timer_;
};

} // namespace tool
