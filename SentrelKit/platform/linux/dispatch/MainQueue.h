// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/DispatchQueue.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/ForkGuard.h>
#include <SentrelKit/platform/support/TimedQueue.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace sentrel::platform {

/// The main queue: one source on the default GLib main context, attached at the first use. Closures cross threads under
/// this queue's own lock; GLib only wakes the thread that runs the loop. A loop that knows nothing of GLib waits for a
/// descriptor instead; where both serve the queue, each takes what is due when it comes.
///
/// A turn of the loop gives this queue a few milliseconds, in which it runs at least one closure. The turn after it is
/// the host's alone, sources of a lower priority included: GLib serves those only while none of a higher one is ready.
class MainQueue final : public DispatchQueue, public std::enable_shared_from_this<MainQueue> {
public:
    MainQueue() = default;
    ~MainQueue() override;

    void async(std::function<void()> work) override;
    void after(std::int64_t nanoseconds, std::function<void()> work) override;
    [[nodiscard]] std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds,
                                                            std::function<void()> tick) override;

    void resume(const std::shared_ptr<TimedQueue::Ticker>& ticker);
    void suspend(const std::shared_ptr<TimedQueue::Ticker>& ticker);

    /// Runs the default main context for so many seconds. An exception of a closure ends it and passes through.
    void run(double seconds);

    /// A timerfd that has gone off while something is due, made at the first call; -1, with errno set, if that fails.
    [[nodiscard]] int descriptor();

    // What the source asks, on the loop's thread.

    /// Before the loop sleeps: whether this queue has something to run in this turn, and for how many milliseconds the
    /// loop may sleep; -1 is for ever.
    [[nodiscard]] bool prepare(int& timeout);

    /// After the loop slept: whether this queue has something to run in this turn.
    [[nodiscard]] bool check();

    /// Runs what is due. An exception of a closure ends the process unless `run` is there to pass it on.
    void runDue() noexcept;

private:
    struct Run;
    class Finish;

    void wake();
    void afterForkInChild() SENTREL_EXCLUDES(lock_);
    void setAlarm() SENTREL_REQUIRES(lock_);

    Lock lock_;
    TimedQueue queue_ SENTREL_GUARDED_BY(lock_);
    bool hostsTurn_ SENTREL_GUARDED_BY(lock_) = false;     ///< closures ran in the last turn of the loop
    Run* run_ SENTREL_GUARDED_BY(lock_) = nullptr;         ///< the innermost
    void* source_ SENTREL_GUARDED_BY(lock_) = nullptr;     ///< GSource
    UniqueFd alarm_ SENTREL_GUARDED_BY(lock_);             ///< where a loop waits for one...
    std::int64_t alarmTime_ SENTREL_GUARDED_BY(lock_) = 0; ///< ...which goes off then; 0 is never

    const ForkGuard forkGuard_{[this] { afterForkInChild(); }};
};

} // namespace sentrel::platform
