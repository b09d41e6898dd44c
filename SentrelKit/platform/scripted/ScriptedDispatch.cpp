// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedDispatch.h>

#include <SentrelKit/platform/support/QueueTimer.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace sentrel::platform {

bool ScriptedClock::read(WallClockReading& reading) noexcept {
    if (!readable_) {
        errno = EFAULT;
        return false;
    }
    const std::int64_t microseconds = (wallOffset_ + monotonic_) / 1000;
    reading.seconds = microseconds / 1'000'000;
    reading.microseconds = static_cast<std::int32_t>(microseconds % 1'000'000);
    return true;
}

class ScriptedQueue final : public DispatchQueue, public std::enable_shared_from_this<ScriptedQueue> {
public:
    explicit ScriptedQueue(ScriptedClock& clock) : clock_(clock) {}

    void async(std::function<void()> work) override { after(0, std::move(work)); }

    void after(std::int64_t nanoseconds, std::function<void()> work) override {
        queue.pushAt(clock_.monotonicNanoseconds() + std::max<std::int64_t>(nanoseconds, 0), std::move(work));
    }

    std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds, std::function<void()> tick) override;

    void resume(const std::shared_ptr<TimedQueue::Ticker>& ticker) {
        queue.resume(ticker, clock_.monotonicNanoseconds());
    }
    void suspend(const std::shared_ptr<TimedQueue::Ticker>& ticker) { queue.suspend(ticker); }

    TimedQueue queue;

private:
    ScriptedClock& clock_;
};

std::unique_ptr<RepeatingTimer> ScriptedQueue::makeTimer(std::int64_t nanoseconds, std::function<void()> tick) {
    return std::make_unique<QueueTimer<ScriptedQueue>>(shared_from_this(), nanoseconds, std::move(tick));
}

namespace {

// The time in which a job runs; it ends also when the job throws.
class Running {
public:
    Running(const DispatchQueue*& current, ScriptedQueue& queue, TimedQueue::Job& job)
        : current_(current), outer_(std::exchange(current, &queue)), queue_(queue), job_(job) {}
    ~Running() {
        current_ = outer_;
        queue_.queue.finished(job_);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    const DispatchQueue*& current_;
    const DispatchQueue* outer_;
    ScriptedQueue& queue_;
    TimedQueue::Job& job_;
};

} // namespace

ScriptedDispatch::ScriptedDispatch(ScriptedClock& clock)
    : clock_(clock), main_(std::make_shared<ScriptedQueue>(clock)),
      background_(std::make_shared<ScriptedQueue>(clock)), queues_{main_, background_} {}

ScriptedDispatch::~ScriptedDispatch() {
    clear();
}

// A closure that never ran may hold the queue that holds it.
void ScriptedDispatch::clear() {
    for (const auto& weak : queues_) {
        if (const std::shared_ptr<ScriptedQueue> queue = weak.lock())
            queue->queue.clear();
    }
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::mainQueue() {
    return main_;
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::backgroundQueue() {
    return background_;
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::serialQueue(const std::string& /*name*/) {
    auto queue = std::make_shared<ScriptedQueue>(clock_);
    queues_.push_back(queue);
    return queue;
}

void ScriptedDispatch::advance(double seconds) {
    const std::int64_t end = clock_.monotonic_ + nanosecondsFromSeconds(seconds);
    for (;;) {
        std::shared_ptr<ScriptedQueue> earliest;
        std::int64_t deadline = end;
        for (const auto& weak : queues_) {
            const std::shared_ptr<ScriptedQueue> queue = weak.lock();
            if (!queue)
                continue;
            const auto next = queue->queue.nextDeadline();
            if (next && (*next < deadline || (!earliest && *next == deadline))) {
                earliest = queue;
                deadline = *next;
            }
        }
        if (!earliest)
            break;
        clock_.monotonic_ = std::max(clock_.monotonic_, deadline);
        if (auto job = earliest->queue.take(clock_.monotonic_)) {
            const Running running(running_, *earliest, *job);
            job->run();
        }
    }
    clock_.monotonic_ = std::max(clock_.monotonic_, end);
}

} // namespace sentrel::platform
