#include <SentrelKit/platform/linux/MainQueue.h>

#include <SentrelKit/platform/QueueTimer.h>
#include <SentrelKit/platform/linux/MonotonicTime.h>

#include <atomic>
#include <glib.h>
#include <new>
#include <optional>
#include <utility>

namespace sentrel::platform {

namespace {

// Between two rounds of the loop, so that a flood of closures cannot starve the host's own sources.
constexpr int closuresPerRound = 64;

struct MainSource {
    GSource base;
    // Atomic because it is written by whoever uses the queue first and read by the loop's thread.
    std::atomic<MainQueue*> queue;
};

MainQueue& queueOf(GSource* source) {
    return *reinterpret_cast<MainSource*>(source)->queue.load(std::memory_order_acquire);
}

gboolean prepare(GSource* source, gint* timeout) {
    *timeout = queueOf(source).timeout();
    return *timeout == 0;
}

gboolean check(GSource* source) {
    return queueOf(source).timeout() == 0;
}

gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    queueOf(source).runReady();
    return G_SOURCE_CONTINUE;
}

GSourceFuncs mainSourceFunctions = {prepare, check, dispatch, nullptr, nullptr, nullptr};

} // namespace

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
}

void MainQueue::run(double seconds) {
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    after(nanosecondsFromSeconds(seconds), [loop] { g_main_loop_quit(loop); });
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
}

int MainQueue::timeout() {
    const std::int64_t now = monotonicNow();
    const LockScope scope(lock_);
    return pollTimeout(queue_.nextDeadline(), now);
}

void MainQueue::runReady() {
    for (int i = 0; i < closuresPerRound; ++i) {
        std::optional<TimedQueue::Job> job;
        {
            const LockScope scope(lock_);
            job = queue_.take(monotonicNow());
        }
        if (!job)
            return;
        job->run();
        const LockScope scope(lock_);
        queue_.finished(*job);
    }
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
}

} // namespace sentrel::platform
