#include <SentrelKit/platform/scripted/ScriptedDispatch.h>

#include <SentrelKit/platform/TimedQueue.h>

#include <algorithm>
#include <cerrno>

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

    void async(std::function<void()> work) override { queue.push(std::move(work)); }

    void after(std::int64_t nanoseconds, std::function<void()> work) override {
        queue.pushAt(clock_.monotonicNanoseconds() + std::max<std::int64_t>(nanoseconds, 0), std::move(work));
    }

    std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds, std::function<void()> tick) override;

    std::int64_t now() { return clock_.monotonicNanoseconds(); }

    TimedQueue queue;

private:
    ScriptedClock& clock_;
};

namespace {

class ScriptedTimer final : public RepeatingTimer {
public:
    ScriptedTimer(std::shared_ptr<ScriptedQueue> queue, std::int64_t interval, std::function<void()> tick)
        : queue_(std::move(queue)), ticker_(std::make_shared<TimedQueue::Ticker>(interval, std::move(tick))) {}
    ~ScriptedTimer() override { suspend(); }

    void resume() override { queue_->queue.resume(ticker_, queue_->now()); }
    void suspend() override { queue_->queue.suspend(ticker_); }
    void cancel() override { suspend(); }

private:
    std::shared_ptr<ScriptedQueue> queue_;
    std::shared_ptr<TimedQueue::Ticker> ticker_;
};

} // namespace

std::unique_ptr<RepeatingTimer> ScriptedQueue::makeTimer(std::int64_t nanoseconds, std::function<void()> tick) {
    return std::make_unique<ScriptedTimer>(shared_from_this(), nanoseconds, std::move(tick));
}

ScriptedDispatch::ScriptedDispatch(ScriptedClock& clock)
    : clock_(clock), main_(std::make_shared<ScriptedQueue>(clock)), background_(std::make_shared<ScriptedQueue>(clock)),
      queues_{main_, background_} {}

ScriptedDispatch::~ScriptedDispatch() = default;

std::shared_ptr<DispatchQueue> ScriptedDispatch::mainQueue() { return main_; }

std::shared_ptr<DispatchQueue> ScriptedDispatch::backgroundQueue() { return background_; }

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
            const auto next = queue->queue.nextDeadline(clock_.monotonic_);
            if (next && (*next < deadline || (!earliest && *next == deadline))) {
                earliest = queue;
                deadline = *next;
            }
        }
        if (!earliest)
            break;
        clock_.monotonic_ = std::max(clock_.monotonic_, deadline);
        if (auto job = earliest->queue.take(clock_.monotonic_)) {
            const DispatchQueue* outer = running_;
            running_ = earliest.get();
            job->run();
            running_ = outer;
            earliest->queue.finished(*job);
        }
    }
    clock_.monotonic_ = std::max(clock_.monotonic_, end);
}

} // namespace sentrel::platform
