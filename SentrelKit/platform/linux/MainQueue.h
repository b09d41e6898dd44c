#pragma once

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/TimedQueue.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace sentrel::platform {

/// The main queue: one source on the default GLib main context, attached at the first use. Closures cross threads under
/// this queue's own lock; GLib only wakes the thread that runs the loop.
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

    /// Runs the default main context for so many seconds.
    void run(double seconds);

    /// How long the loop may sleep, in milliseconds: 0 when there is something to run, -1 for ever.
    [[nodiscard]] int timeout();

    /// Runs what is ready. On the loop's thread.
    void runReady();

private:
    void wake();

    Lock lock_;
    TimedQueue queue_ SENTREL_GUARDED_BY(lock_);
    void* source_ SENTREL_GUARDED_BY(lock_) = nullptr; ///< GSource
};

} // namespace sentrel::platform
