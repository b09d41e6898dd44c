#pragma once

#include <SentrelKit/base/system/ThreadSafety.h>
#include <SentrelKit/platform/TimedQueue.h>
#include <SentrelKit/platform/linux/ForkGuard.h>
#include <SentrelKit/platform/linux/UniqueFd.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace sentrel::platform {

/// A few low-priority worker threads that serve lanes of closures, timers and watched descriptors. No thread exists
/// before a lane is first used. One idle worker, the leader, waits for the next deadline and for descriptors; the
/// others sleep until there is more to do than the leader can do alone. With nothing to do nobody wakes up.
///
/// A forked child starts with no worker and no watch; its lanes work again from their next use on.
class BackgroundPool final : public ForkGuard {
public:
    using Work = TimedQueue::Work;

    /// A queue within the pool. A serial lane runs one closure at a time.
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

    BackgroundPool();
    ~BackgroundPool() override = default;

    /// Ends all workers and waits for what they run; closures that have not begun never do. Not from a worker. Queues
    /// may outlive this.
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

    void afterForkInChild() override;

    void openPoller() SENTREL_REQUIRES(lock_);
    void use() SENTREL_REQUIRES(lock_);
    void hurryLeader() SENTREL_REQUIRES(lock_);
    void callWorker() SENTREL_REQUIRES(lock_);
    void startWorker() SENTREL_REQUIRES(lock_);
    void work() SENTREL_EXCLUDES(lock_);
    [[nodiscard]] std::optional<Task> take() SENTREL_REQUIRES(lock_);
    void finish(Task& task) SENTREL_REQUIRES(lock_);
    [[nodiscard]] std::optional<std::int64_t> nextDeadline(std::int64_t now) const SENTREL_REQUIRES(lock_);
    void lead() SENTREL_REQUIRES(lock_);
    void deliver(std::uint64_t id) SENTREL_REQUIRES(lock_);
    void serve(Watch& watch) SENTREL_EXCLUDES(lock_);
    bool arm(const Watch& watch, int operation) SENTREL_REQUIRES(lock_);

    Lock lock_;
    Condition changed_ SENTREL_GUARDED_BY(lock_);
    std::vector<std::shared_ptr<Lane>> lanes_ SENTREL_GUARDED_BY(lock_);
    std::shared_ptr<Lane> watchLane_ SENTREL_GUARDED_BY(lock_);
    std::map<std::uint64_t, std::shared_ptr<Watch>> watches_ SENTREL_GUARDED_BY(lock_);
    std::uint64_t lastWatch_ SENTREL_GUARDED_BY(lock_) = 0;
    std::vector<std::thread> workers_ SENTREL_GUARDED_BY(lock_);
    std::size_t sleepers_ SENTREL_GUARDED_BY(lock_) = 0;
    bool led_ SENTREL_GUARDED_BY(lock_) = false;                ///< a worker waits in the poller...
    std::int64_t leaderDeadline_ SENTREL_GUARDED_BY(lock_) = 0; ///< ...until then
    bool stopping_ SENTREL_GUARDED_BY(lock_) = false;
    UniqueFd poller_ SENTREL_GUARDED_BY(lock_); ///< epoll
    UniqueFd waker_ SENTREL_GUARDED_BY(lock_);  ///< eventfd that ends the leader's wait
};

} // namespace sentrel::platform
