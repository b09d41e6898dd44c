// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/scripted/ScriptedDispatch.h>

#include <SentrelKit/platform/support/QueueTimer.h>

#include <algorithm>
#include <string>
#include <utility>

namespace sentrel::platform {

bool ScriptedClock::read(WallClockReading& reading) noexcept {
    if (calls.fails("read"))
        return false;
    const std::int64_t microseconds = (wallOffset_ + monotonic_) / 1000;
    reading.seconds = microseconds / 1'000'000;
    reading.microseconds = static_cast<std::int32_t>(microseconds % 1'000'000);
    return true;
}

class ScriptedQueue final : public DispatchQueue, public std::enable_shared_from_this<ScriptedQueue> {
public:
    ScriptedQueue(ScriptedDispatch& dispatch, ScriptedClock& clock, std::string name)
        : dispatch_(dispatch), clock_(clock), name_(std::move(name)) {}

    void async(std::function<void()> work) override {
        dispatch_.calls.record("async", name_);
        push(0, std::move(work));
    }

    void after(std::int64_t nanoseconds, std::function<void()> work) override {
        dispatch_.calls.record("after", name_ + ' ' + std::to_string(nanoseconds));
        push(nanoseconds, std::move(work));
    }

    std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds, std::function<void()> tick) override;

    void resume(const std::shared_ptr<TimedQueue::Ticker>& ticker) {
        queue.resume(ticker, clock_.monotonicNanoseconds());
    }
    void suspend(const std::shared_ptr<TimedQueue::Ticker>& ticker) { queue.suspend(ticker); }

    TimedQueue queue;

private:
    void push(std::int64_t nanoseconds, std::function<void()> work) {
        queue.pushAt(clock_.monotonicNanoseconds() + std::max<std::int64_t>(nanoseconds, 0), std::move(work));
    }

    ScriptedDispatch& dispatch_;
    ScriptedClock& clock_;
    const std::string name_;
};

namespace {

// Tells of what it is asked, and of its end.
class ScriptedTimer final : public RepeatingTimer {
public:
    ScriptedTimer(ScriptedCalls& calls, const std::string& queue, std::unique_ptr<RepeatingTimer> timer)
        : timer_(std::move(timer)), handle_(calls, "timer " + queue) {}

    void resume() override {
        handle_.record("resume");
        timer_->resume();
    }
    void suspend() override {
        handle_.record("suspend");
        timer_->suspend();
    }
    void cancel() override {
        handle_.record("cancel");
        timer_->cancel();
    }

private:
    std::unique_ptr<RepeatingTimer> timer_;
    const ScriptedHandle handle_;
};

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

std::unique_ptr<RepeatingTimer> ScriptedQueue::makeTimer(std::int64_t nanoseconds, std::function<void()> tick) {
    dispatch_.calls.record("makeTimer", name_ + ' ' + std::to_string(nanoseconds));
    return std::make_unique<ScriptedTimer>(
        dispatch_.calls, name_,
        std::make_unique<QueueTimer<ScriptedQueue>>(shared_from_this(), nanoseconds, std::move(tick)));
}

ScriptedDispatch::ScriptedDispatch(ScriptedClock& clock)
    : clock_(clock), main_(std::make_shared<ScriptedQueue>(*this, clock, "main")),
      background_(std::make_shared<ScriptedQueue>(*this, clock, "background")), queues_{main_, background_} {}

ScriptedDispatch::~ScriptedDispatch() {
    clear();
}

// A closure that never ran may hold the queue that holds it.
void ScriptedDispatch::clear() {
    for (const auto& queue : queues_)
        queue->queue.clear();
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::mainQueue() {
    return main_;
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::backgroundQueue() {
    return background_;
}

std::shared_ptr<DispatchQueue> ScriptedDispatch::serialQueue(const std::string& name) {
    calls.record("serialQueue", name);
    auto queue = std::make_shared<ScriptedQueue>(*this, clock_, name);
    queues_.push_back(queue);
    return queue;
}

void ScriptedDispatch::advance(double seconds) {
    const std::int64_t end = clock_.monotonic_ + nanosecondsFromSeconds(seconds);
    for (;;) {
        std::shared_ptr<ScriptedQueue> earliest;
        std::int64_t deadline = end;
        for (const auto& queue : queues_) {
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
