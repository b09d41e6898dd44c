// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/dispatch/MacTimer.h>

#include <SentrelKit/platform/macos/common/Uptime.h>
#include <SentrelKit/platform/macos/dispatch/Closure.h>
#include <SentrelKit/platform/macos/dispatch/MainLoop.h>

#include <optional>
#include <utility>

namespace sentrel::platform {

struct MacTimer::Gate {
    using Tick = std::function<void()>;

    explicit Gate(Tick closure) : tick(std::make_shared<const Tick>(std::move(closure))) {}

    // What a source calls back with; it lives as long as the source and may still come after the timer is gone.
    static void pass(void* context) {
        const std::shared_ptr<Gate> gate = *static_cast<std::shared_ptr<Gate>*>(context);
        if (MainLoop::isLeft()) // as for closures: the tick stays for the loop's next run
            dispatch_async_f(dispatch_get_main_queue(), boxed([gate] { gate->pass(); }), &runBoxed);
        else
            gate->pass();
    }
    static void release(void* context) { delete static_cast<std::shared_ptr<Gate>*>(context); }

    void pass() {
        if (const std::shared_ptr<const Tick> due = open())
            runClosure(*due);
    }
    [[nodiscard]] std::shared_ptr<const Tick> open() {
        const LockScope scope(lock);
        return opening && uptimeNanoseconds() >= *opening ? tick : nullptr;
    }
    // From a moment on, or not.
    void set(std::optional<std::int64_t> moment) {
        const LockScope scope(lock);
        opening = moment;
    }
    // For good: what the tick holds is let go of, by the last tick if one runs. The source itself may end late, on its
    // queue, or never where nobody serves that.
    void close() {
        std::shared_ptr<const Tick> held; // outside the lock
        const LockScope scope(lock);
        opening.reset();
        held.swap(tick);
    }

    Lock lock;
    std::shared_ptr<const Tick> tick SENTREL_GUARDED_BY(lock);
    std::optional<std::int64_t> opening SENTREL_GUARDED_BY(lock); // on the clock of uptime
};

MacTimer::MacTimer(dispatch_queue_t queue, std::int64_t interval, std::function<void()> tick)
    : interval_(interval > 0 ? static_cast<std::uint64_t>(interval) : 1),
      gate_(std::make_shared<Gate>(std::move(tick))),
      source_(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue)) {
    dispatch_set_context(source_.get(), new std::shared_ptr<Gate>(gate_));
    dispatch_source_set_event_handler_f(source_.get(), &Gate::pass);
    dispatch_set_finalizer_f(source_.get(), &Gate::release);
}

MacTimer::~MacTimer() {
    gate_->close();
    if (state_ == Source::suspended)
        dispatch_resume(source_.get());
    if (state_ != Source::cancelled)
        dispatch_source_cancel(source_.get());
}

void MacTimer::resume() {
    if (state_ != Source::suspended)
        return;
    state_ = Source::resumed;
    // A tick that was on its way as the source was suspended comes before half of the first interval is over.
    gate_->set(uptimeNanoseconds() + static_cast<std::int64_t>(interval_ / 2));
    // Armed anew, the source drops one that had come due by then.
    dispatch_source_set_timer(source_.get(), dispatch_time(DISPATCH_TIME_NOW, static_cast<std::int64_t>(interval_)),
                              interval_, 0);
    dispatch_resume(source_.get());
}

void MacTimer::suspend() {
    if (state_ != Source::resumed)
        return;
    state_ = Source::suspended;
    gate_->set(std::nullopt);
    dispatch_suspend(source_.get());
}

void MacTimer::cancel() {
    if (state_ == Source::cancelled)
        return;
    gate_->close();
    if (state_ == Source::suspended)
        dispatch_resume(source_.get()); // a suspended source hears of its end only when it is resumed
    state_ = Source::cancelled;
    dispatch_source_cancel(source_.get());
}

} // namespace sentrel::platform
