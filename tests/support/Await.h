// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace sentrel {

/// Something that happens on another thread, and waiting for it with a generous bound. It may be released as soon as it
/// was awaited.
class Event {
public:
    void happened() {
        const std::shared_ptr<State> state = state_;
        const std::lock_guard lock(state->mutex);
        ++state->count;
        state->changed.notify_all();
    }

    /// True once it has happened so many times; false if that takes longer than a test may take.
    [[nodiscard]] bool await(int times = 1) {
        std::unique_lock lock(state_->mutex);
        return state_->changed.wait_for(lock, std::chrono::seconds(30), [&] { return state_->count >= times; });
    }

    [[nodiscard]] int count() {
        const std::lock_guard lock(state_->mutex);
        return state_->count;
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        int count = 0;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace sentrel
