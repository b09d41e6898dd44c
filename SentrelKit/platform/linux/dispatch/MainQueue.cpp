// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/dispatch/MainQueue.h>

#include <SentrelKit/platform/linux/common/MonotonicTime.h>
#include <SentrelKit/platform/support/QueueTimer.h>

#include <atomic>
#include <exception>
#include <glib.h>
#include <new>
#include <optional>
#include <sys/timerfd.h>
#include <utility>

namespace sentrel::platform {

namespace {

// For closures in one turn of the loop: a flood of quick ones is served fast, and the host's sources still have their
// turn many times between two pictures.
constexpr std::int64_t turnTime = 4'000'000; // nanoseconds

struct MainSource {
    GSource base;
    // Atomic because it is written by whoever uses the queue first and read by the loop's thread.
    std::atomic<MainQueue*> queue;
};

MainQueue& queueOf(GSource* source) {
    return *reinterpret_cast<MainSource*>(source)->queue.load(std::memory_order_acquire);
}

gboolean prepare(GSource* source, gint* timeout) {
    return queueOf(source).prepare(*timeout);
}

gboolean check(GSource* source) {
    return queueOf(source).check();
}

gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    queueOf(source).runDue();
    return G_SOURCE_CONTINUE;
}

GSourceFuncs mainSourceFunctions = {prepare, check, dispatch, nullptr, nullptr, nullptr};

} // namespace

/// A loop that `run` runs.
struct MainQueue::Run {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    std::exception_ptr failure; ///< what a closure threw

    Run() = default;
    ~Run() { g_main_loop_unref(loop); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
};

/// Takes a job back, also when it threw: its timer ticks on.
class MainQueue::Finish {
public:
    Finish(MainQueue& queue, TimedQueue::Job& job) : queue_(queue), job_(job) {}
    ~Finish() {
        const LockScope scope(queue_.lock_);
        queue_.queue_.finished(job_);
        queue_.setAlarm();
    }
    Finish(const Finish&) = delete;
    Finish& operator=(const Finish&) = delete;

private:
    MainQueue& queue_;
    TimedQueue::Job& job_;
};

MainQueue::~MainQueue() {
    if (source_) {
        g_source_destroy(static_cast<GSource*>(source_));
        g_source_unref(static_cast<GSource*>(source_));
    }
}

void MainQueue::async(std::function<void()> work) {
    {
        const LockScope scope(lock_);
        queue_.push(monotonicNow(), std::move(work));
    }
    wake();
}

void MainQueue::after(std::int64_t nanoseconds, std::function<void()> work) {
    {
        const LockScope scope(lock_);
        queue_.pushAt(monotonicDeadline(nanoseconds), std::move(work));
    }
    wake();
}

std::unique_ptr<RepeatingTimer> MainQueue::makeTimer(std::int64_t nanoseconds, std::function<void()> tick) {
    return std::make_unique<QueueTimer<MainQueue>>(shared_from_this(), nanoseconds, std::move(tick));
}

void MainQueue::resume(const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    {
        const LockScope scope(lock_);
        queue_.resume(ticker, monotonicNow());
    }
    wake();
}

void MainQueue::suspend(const std::shared_ptr<TimedQueue::Ticker>& ticker) {
    const LockScope scope(lock_);
    queue_.suspend(ticker);
    setAlarm();
}

void MainQueue::run(double seconds) {
    Run run;
    const auto end = makeTimer(nanosecondsFromSeconds(seconds), [loop = run.loop] { g_main_loop_quit(loop); });
    end->resume();
    const auto enter = [this](Run* inner) {
        const LockScope scope(lock_);
        return std::exchange(run_, inner);
    };
    Run* const outer = enter(&run);
    g_main_loop_run(run.loop);
    enter(outer);
    if (run.failure)
        std::rethrow_exception(run.failure);
}

bool MainQueue::prepare(int& timeout) {
    const std::int64_t now = monotonicNow();
    const LockScope scope(lock_);
    timeout = pollTimeout(queue_.nextDeadline(), now);
    if (timeout != 0)
        hostsTurn_ = false; // everybody had a turn
    return timeout == 0 && !hostsTurn_;
}

bool MainQueue::check() {
    const std::int64_t now = monotonicNow();
    const LockScope scope(lock_);
    return !std::exchange(hostsTurn_, false) && pollTimeout(queue_.nextDeadline(), now) == 0;
}

void MainQueue::runDue() noexcept {
    const std::int64_t end = monotonicNow() + turnTime;
    do {
        std::optional<TimedQueue::Job> job;
        Run* run = nullptr;
        {
            const LockScope scope(lock_);
            job = queue_.take(monotonicNow());
            run = run_;
            hostsTurn_ = true;
            setAlarm(); // a loop that the job runs waits for the others
        }
        if (!job)
            return;
        const Finish finish(*this, *job);
        if (!run) {
            job->run(); // an exception ends the process here, where it was thrown
            continue;
        }
        try {
            job->run();
        } catch (...) {
            run->failure = std::current_exception();
            g_main_loop_quit(run->loop);
        }
        if (!g_main_loop_is_running(run->loop))
            return;
    } while (monotonicNow() < end);
}

void MainQueue::wake() {
    const LockScope scope(lock_);
    if (!source_) {
        GSource* source = g_source_new(&mainSourceFunctions, sizeof(MainSource));
        auto* const slot = new (&reinterpret_cast<MainSource*>(source)->queue) std::atomic<MainQueue*>(nullptr);
        slot->store(this, std::memory_order_release);
        g_source_set_name(source, "SentrelKit main queue");
        // A closure may run a nested loop, which then serves this queue too.
        g_source_set_can_recurse(source, TRUE);
        g_source_attach(source, nullptr);
        source_ = source;
    }
    g_main_context_wakeup(nullptr);
    setAlarm();
}

int MainQueue::descriptor() {
    const LockScope scope(lock_);
    if (!alarm_) {
        alarm_.reset(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
        setAlarm();
    }
    return alarm_.get();
}

void MainQueue::afterForkInChild() {
    const LockScope scope(lock_);
    alarm_.reset(); // it is the parent's too
    alarmTime_ = 0;
}

// The alarm goes off at the next deadline, so that it has gone off as long as something is due.
void MainQueue::setAlarm() {
    const std::int64_t time = queue_.nextDeadline().value_or(0);
    if (!alarm_ || time == alarmTime_)
        return;
    alarmTime_ = time;
    itimerspec next{};
    next.it_value = {time / 1'000'000'000, time % 1'000'000'000};
    timerfd_settime(alarm_.get(), TFD_TIMER_ABSTIME, &next, nullptr);
}

} // namespace sentrel::platform
