// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/ForkGuard.h>
#include <SentrelKit/platform/support/TimedQueue.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// Low-priority threads that serve timers, watched descriptors and lanes of closures. No thread exists before a lane is
/// first used.
///
/// Ticks and the calls of watches have a thread of their own, the keeper: it waits for the next deadline and for
/// descriptors, and runs what comes itself. A second thread stands in: it sleeps, without ever waking up, until one of
/// those calls takes longer than `grace`. Then it becomes the keeper, so that nothing waits for the one that blocks. So
/// many calls may block at once as there may be keepers.
///
/// Closures run on workers, which are started as they are needed and end after a while without work. However many of
/// them block, or for how long, ticks come.
///
/// Where threads or descriptors run out, the pool says so once on the standard error stream, does what it can with what
/// it has and asks again every `retryInterval`.
///
/// A forked child starts with no thread and no watch; its lanes work again from their next use on.
class BackgroundPool final : public std::enable_shared_from_this<BackgroundPool> {
public:
    using Work = TimedQueue::Work;

    /// So many closures run at the same time, and so many calls may block before ticks have to wait.
    static constexpr std::size_t maximumWorkers = 8;
    static constexpr std::size_t maximumKeepers = 8;

    static constexpr std::int64_t grace = 50'000'000;          ///< nanoseconds
    static constexpr std::int64_t retryInterval = 500'000'000; ///< nanoseconds

    /// A queue within the pool. A serial lane runs one closure at a time, ticks of its timers among them; the ticks of
    /// a concurrent lane's timers do not wait for closures.
    struct Lane {
        explicit Lane(bool isSerial) : serial(isSerial) {}
        const bool serial;
        bool busy = false;   ///< a serial lane's closure runs
        bool closed = false; ///< nobody can add to it any more: it goes away once it is empty
        TimedQueue queue;
    };

    /// A watched descriptor.
    struct Watch {
        int descriptor = -1;
        std::uint32_t events = 0;
        std::uint64_t id = 0;
        std::function<void()> ready;
        bool ended = false;
        bool running = false; ///< its callback runs or stands in the queue...
        bool again = false;   ///< ...and there was another event meanwhile
    };

    /// `runLater` runs a closure after so many nanoseconds on a thread of somebody else's, for a pool that could not
    /// get its first thread.
    using RunLater = std::function<void(std::int64_t nanoseconds, Work work)>;
    explicit BackgroundPool(RunLater runLater = nullptr);

    /// Ends all threads and waits for what they run; closures that have not begun never do. Not from a thread of the
    /// pool. Queues may outlive this.
    void stop() SENTREL_EXCLUDES(lock_);

    [[nodiscard]] std::shared_ptr<Lane> makeLane(bool serial) SENTREL_EXCLUDES(lock_);
    void close(Lane& lane) SENTREL_EXCLUDES(lock_);
    void push(Lane& lane, Work work) SENTREL_EXCLUDES(lock_);
    void pushAfter(Lane& lane, std::int64_t nanoseconds, Work work) SENTREL_EXCLUDES(lock_);
    void resume(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) SENTREL_EXCLUDES(lock_);
    void suspend(Lane& lane, const std::shared_ptr<TimedQueue::Ticker>& ticker) SENTREL_EXCLUDES(lock_);

    /// Null, with errno set, if the descriptor cannot be watched.
    [[nodiscard]] std::shared_ptr<Watch> watch(int descriptor, std::uint32_t events, std::function<void()> ready)
        SENTREL_EXCLUDES(lock_);
    void endWatch(Watch& watch) SENTREL_EXCLUDES(lock_);

private:
    struct Task {
        TimedQueue::Job job;
        std::shared_ptr<Lane> lane;
    };

    /// What a thread that had the lock has still to do without it.
    struct Shortage {
        std::string report;    ///< to be written to the standard error stream
        bool runLater = false; ///< nobody is left to ask again
    };

    /// What keepers wait with. All of it is there or nothing.
    struct Poller {
        UniqueFd events; ///< epoll: the watches and `waker`
        UniqueFd waker;  ///< eventfd that ends the keeper's wait
        UniqueFd alarm;  ///< timerfd that goes off when a call takes longer than `grace`, for the thread that stands in
        bool open() noexcept;
    };

    void afterForkInChild() SENTREL_EXCLUDES(lock_);

    TimedQueue& tickQueue(Lane& lane) SENTREL_REQUIRES(lock_) { return lane.serial ? lane.queue : calls_; }
    [[nodiscard]] Shortage use() SENTREL_REQUIRES(lock_);
    void meet(const Shortage& shortage) SENTREL_EXCLUDES(lock_);
    void report() SENTREL_REQUIRES(lock_);
    void retry() SENTREL_EXCLUDES(lock_);
    bool openPoller() SENTREL_REQUIRES(lock_);
    bool arm(const Watch& watch, int operation) SENTREL_REQUIRES(lock_);
    bool startThread(void (BackgroundPool::*role)()) SENTREL_REQUIRES(lock_);
    void startKeeper() SENTREL_REQUIRES(lock_);
    void leave() SENTREL_REQUIRES(lock_);
    bool had(bool isHad, bool& isShort, const char* what) SENTREL_REQUIRES(lock_);

    void keepTime() SENTREL_EXCLUDES(lock_);
    void keep(std::uint64_t term) SENTREL_REQUIRES(lock_);
    void collect() SENTREL_REQUIRES(lock_);
    void call(std::optional<TimedQueue::Job> job, std::uint64_t term) SENTREL_REQUIRES(lock_);
    void standIn() SENTREL_REQUIRES(lock_);
    void setAlarm(std::int64_t nanoseconds) SENTREL_REQUIRES(lock_);
    void hurryKeeper() SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::optional<std::int64_t> keepersDeadline(std::int64_t now) const SENTREL_REQUIRES(lock_);
    void deliver(std::uint64_t id) SENTREL_REQUIRES(lock_);
    void serve(Watch& watch) SENTREL_EXCLUDES(lock_);

    void work() SENTREL_EXCLUDES(lock_);
    [[nodiscard]] std::optional<Task> take(std::int64_t now) SENTREL_REQUIRES(lock_);
    void finish(Task& task) SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::shared_ptr<Lane> dueLane(std::int64_t now) const SENTREL_REQUIRES(lock_);
    [[nodiscard]] bool needsWorker(std::int64_t now) const SENTREL_REQUIRES(lock_);
    void callWorker() SENTREL_REQUIRES(lock_);
    [[nodiscard]] bool run(const TimedQueue::Job& job) SENTREL_REQUIRES(lock_);

    const RunLater runLater_;
    Lock lock_;

    TimedQueue calls_ SENTREL_GUARDED_BY(lock_); ///< ticks of concurrent lanes, calls of watches
    std::vector<std::shared_ptr<Lane>> lanes_ SENTREL_GUARDED_BY(lock_);
    std::map<std::uint64_t, std::shared_ptr<Watch>> watches_ SENTREL_GUARDED_BY(lock_);
    std::uint64_t lastWatch_ SENTREL_GUARDED_BY(lock_) = 0;

    std::size_t threads_ SENTREL_GUARDED_BY(lock_) = 0; ///< each keeps the pool
    bool stopping_ SENTREL_GUARDED_BY(lock_) = false;

    Poller poller_ SENTREL_GUARDED_BY(lock_);
    std::size_t keepers_ SENTREL_GUARDED_BY(lock_) = 0;         ///< the one that keeps, the one that stands in...
    std::size_t blocked_ SENTREL_GUARDED_BY(lock_) = 0;         ///< ...and those that block in a call
    bool kept_ SENTREL_GUARDED_BY(lock_) = false;               ///< somebody keeps the time...
    std::uint64_t term_ SENTREL_GUARDED_BY(lock_) = 0;          ///< ...which changes hands with each new term
    bool waiting_ SENTREL_GUARDED_BY(lock_) = false;            ///< the keeper waits...
    std::int64_t keeperDeadline_ SENTREL_GUARDED_BY(lock_) = 0; ///< ...until then
    bool hasStandIn_ SENTREL_GUARDED_BY(lock_) = false;
    std::optional<std::int64_t> callBound_ SENTREL_GUARDED_BY(lock_); ///< when the keeper's call takes too long

    std::size_t workers_ SENTREL_GUARDED_BY(lock_) = 0;
    std::size_t idleWorkers_ SENTREL_GUARDED_BY(lock_) = 0;
    bool workerComes_ SENTREL_GUARDED_BY(lock_) = false; ///< one was called and has not looked yet

    Condition ended_ SENTREL_GUARDED_BY(lock_);  ///< for who waits until there is no thread any more
    Condition work_ SENTREL_GUARDED_BY(lock_);   ///< for idle workers
    Condition keeper_ SENTREL_GUARDED_BY(lock_); ///< for keepers, where there is no poller

    bool shortOfThreads_ SENTREL_GUARDED_BY(lock_) = false;     ///< told, and not had since
    bool shortOfDescriptors_ SENTREL_GUARDED_BY(lock_) = false; ///< likewise
    std::string report_ SENTREL_GUARDED_BY(lock_);              ///< what is to be told
    bool retryAsked_ SENTREL_GUARDED_BY(lock_) = false;

    const ForkGuard forkGuard_{[this] { afterForkInChild(); }};
};

} // namespace sentrel::platform
