// SPDX-License-Identifier: Apache-2.0
#include "tools/sentrel/serve/PacedSampling.h"

#include <mutex>
#include <utility>

namespace tool {

struct PacedSampling::State {
    std::mutex lock;
    std::function<void()> sample; // none after the end
};

PacedSampling::PacedSampling(std::chrono::duration<double> every, std::function<void()> sample)
    : state_(std::make_shared<State>()) {
    state_->sample = std::move(sample);
    timer_ = std::make_unique<sentrel::Timer>(every, true, [state = state_] {
        const std::lock_guard<std::mutex> scope(state->lock);
        if (state->sample)
            state->sample();
    });
    timer_->start();
}

PacedSampling::~PacedSampling() {
    timer_.reset();
    const std::lock_guard<std::mutex> scope(state_->lock);
    state_->sample = nullptr;
}

} // namespace tool
