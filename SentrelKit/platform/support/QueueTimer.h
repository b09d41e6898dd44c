// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/support/TimedQueue.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace sentrel::platform {

/// The repeating timer of a queue that keeps its time in a TimedQueue.
template <class Queue>
class QueueTimer final : public RepeatingTimer {
public:
    /// A suspended timer on a queue that ticks every `interval` nanoseconds.
    QueueTimer(std::shared_ptr<Queue> queue, std::int64_t interval, std::function<void()> tick)
        : queue_(std::move(queue)), ticker_(std::make_shared<TimedQueue::Ticker>(interval, std::move(tick))) {}
    ~QueueTimer() override { queue_->suspend(ticker_); }

    void resume() override {
        if (!isCancelled_)
            queue_->resume(ticker_);
    }
    void suspend() override { queue_->suspend(ticker_); }
    void cancel() override {
        isCancelled_ = true;
        queue_->suspend(ticker_);
    }

private:
    std::shared_ptr<Queue> queue_;
    std::shared_ptr<TimedQueue::Ticker> ticker_;
    bool isCancelled_ = false;
};

} // namespace sentrel::platform
