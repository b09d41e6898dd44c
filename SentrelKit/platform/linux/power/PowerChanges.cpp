// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerChanges.h>

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/common/UdevMonitor.h>
#include <SentrelKit/platform/support/Observer.h>

#include <atomic>
#include <exception>
#include <glib-unix.h>
#include <new>
#include <utility>

namespace sentrel::platform {

namespace {

gint64 microseconds(std::chrono::milliseconds time) {
    return std::chrono::duration_cast<std::chrono::microseconds>(time).count();
}

// What the source does on its loop. The thread that adds it and the thread that runs the loop may differ: all state is
// under the lock, from the set-up on.
class Watcher {
public:
    Watcher(std::shared_ptr<PowerReader> reader, const PowerChangeTimes& times, std::shared_ptr<Observer> observer)
        : reader_(std::move(reader)), times_(times), observer_(std::move(observer)) {}

    ~Watcher() {
        // The last to let go may be a thread that never looked: it sees the others' last writes.
        const LockScope scope(lock_);
    }

    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    void attach(GSource* source) {
        const LockScope scope(lock_);
        // The kernel's own notices: nothing here needs what udev's rules add.
        monitor_ = UdevMonitor("kernel", "power_supply");
        if (monitor_.descriptor() >= 0)
            g_source_add_unix_fd(source, monitor_.descriptor(), G_IO_IN);
        figures_ = reader_->read();
        schedule(source, g_get_monotonic_time());
        GMainContext* context = g_main_context_ref_thread_default();
        g_source_attach(source, context);
        g_main_context_unref(context);
    }

    void dispatch(GSource* source) {
        std::shared_ptr<Observer> observer;
        {
            const LockScope scope(lock_);
            const gint64 now = g_get_monotonic_time();
            if (monitor_.takeNotices() && !settling_) {
                settling_ = true;
                deadline_ = now + microseconds(times_.settling);
                g_source_set_ready_time(source, deadline_);
            }
            if (deadline_ < 0 || now < deadline_)
                return;
            if (look())
                observer = observer_;
            settling_ = false;
            schedule(source, now);
        }
        if (observer)
            observer->tell();
    }

private:
    bool look() SENTREL_REQUIRES(lock_) {
        PowerFigures figures = reader_->read();
        if (figures == figures_)
            return false;
        figures_ = std::move(figures);
        return true;
    }

    void schedule(GSource* source, gint64 now) SENTREL_REQUIRES(lock_) {
        deadline_ = figures_.battery ? now + microseconds(times_.polling) : -1;
        g_source_set_ready_time(source, deadline_);
    }

    Lock lock_;
    std::shared_ptr<PowerReader> reader_ SENTREL_GUARDED_BY(lock_);
    PowerChangeTimes times_ SENTREL_GUARDED_BY(lock_);
    std::shared_ptr<Observer> observer_ SENTREL_GUARDED_BY(lock_);
    UdevMonitor monitor_ SENTREL_GUARDED_BY(lock_);
    PowerFigures figures_ SENTREL_GUARDED_BY(lock_);
    bool settling_ SENTREL_GUARDED_BY(lock_) = false; ///< a notice came, its figures are not looked at yet
    gint64 deadline_ SENTREL_GUARDED_BY(lock_) = -1;  ///< when to look; -1 is never
};

struct WatcherSource {
    GSource base;
    // Atomic because it is written by the thread that adds the source and read by the loop's thread.
    std::atomic<Watcher*> watcher;
};

Watcher* watcherOf(GSource* source) {
    return reinterpret_cast<WatcherSource*>(source)->watcher.load(std::memory_order_acquire);
}

// An exception ends the process here: the loop below is none of ours.
gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    try {
        watcherOf(source)->dispatch(source);
    } catch (...) {
        std::terminate();
    }
    return G_SOURCE_CONTINUE;
}

void finalize(GSource* source) {
    delete watcherOf(source);
}

// Without check functions GLib looks at the descriptor and the ready time itself.
GSourceFuncs sourceFunctions = {nullptr, nullptr, dispatch, finalize, nullptr, nullptr};

struct EndSource {
    void operator()(GSource* source) const noexcept {
        g_source_destroy(source);
        g_source_unref(source);
    }
};

} // namespace

Observation observePowerChanges(std::shared_ptr<PowerReader> reader, const PowerChangeTimes& times,
                                std::function<void()> changed) {
    auto observer = std::make_shared<Observer>(std::move(changed));
    const std::shared_ptr<GSource> source(g_source_new(&sourceFunctions, sizeof(WatcherSource)), EndSource());
    auto* watcher = new Watcher(std::move(reader), times, observer);
    auto* const slot = new (&reinterpret_cast<WatcherSource*>(source.get())->watcher) std::atomic<Watcher*>(nullptr);
    slot->store(watcher, std::memory_order_release);
    g_source_set_name(source.get(), "SentrelKit power sources");
    watcher->attach(source.get());
    return Observation(std::move(observer), source);
}

} // namespace sentrel::platform
