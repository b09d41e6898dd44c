// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The bookkeeping of a queue on a clock: closures and timer ticks, each with the moment from which on it may run. It
/// holds no lock, no thread and no clock; its owner passes the time in (nanoseconds of any clock that never steps back)
/// and guards every call with one lock.
///
/// A closure that is ready at once counts as due at the moment it came, so everything goes by one rule: first due,
/// first run. A closure that posts itself again and again thus never gets ahead of a timer, nor a timer whose tick
/// takes longer than its interval ahead of a closure.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace sentrel::platform {

/// The schedule of one queue.
class TimedQueue {
public:
    /// What runs: a closure, or the tick of a timer.
    using Work = std::function<void()>;

    /// A repeating timer's state. Shared between its owner and a tick that runs.
    class Ticker {
    public:
        /// A suspended timer that ticks every `interval` nanoseconds.
        Ticker(std::int64_t interval, Work tick);

    private:
        friend class TimedQueue;
        std::int64_t interval_;
        Work tick_;
        bool resumed_ = false;
        bool running_ = false;
        bool waiting_ = false; ///< stands in the schedule at deadline_
        std::int64_t deadline_ = 0;
    };

private:
    struct Entry {
        Work work;
        std::shared_ptr<Ticker> ticker;
    };
    using Schedule = std::multimap<std::int64_t, Entry>; // equal deadlines keep the order in which they were made

public:
    /// One closure to run now, outside the owner's lock; afterwards `finished` takes it back. Whatever it still holds
    /// then is released with it: outside the lock too.
    class Job {
    public:
        /// Runs the closure.
        void run() const {
            const Entry& entry = entry_.mapped();
            (entry.ticker ? entry.ticker->tick_ : entry.work)();
        }

    private:
        friend class TimedQueue;
        Schedule::node_type entry_; // goes back to the queue: neither a tick nor a closure now and then allocates
        Work ended_;                // a closure that has run, to be released with the job
    };

    /// A closure that may run from now on.
    void push(std::int64_t now, Work work) { pushAt(now, std::move(work)); }
    /// A closure that may run from `deadline` on.
    void pushAt(std::int64_t deadline, Work work);

    /// The first tick comes one whole interval after now. A resumed ticker stays as it is.
    void resume(const std::shared_ptr<Ticker>& ticker, std::int64_t now);

    /// No new tick begins. Also what cancelling and releasing do.
    void suspend(const std::shared_ptr<Ticker>& ticker);

    /// What is due at `now` and was due first, if anything.
    [[nodiscard]] std::optional<Job> take(std::int64_t now);

    /// Ends a job: a ticker that is still resumed waits for its next deadline.
    void finished(Job& job);

    /// Gives up the jobs that have not finished, whose threads are no more: their tickers wait for their next
    /// deadlines.
    void abandonJobs();

    /// Lets go of all that waits; timers are suspended.
    void clear();

    /// The earliest deadline, if any. It may have passed.
    [[nodiscard]] std::optional<std::int64_t> nextDeadline() const;

    /// The earliest deadline that has not passed.
    [[nodiscard]] std::optional<std::int64_t> nextDeadlineAfter(std::int64_t now) const;

    /// Whether nothing waits.
    [[nodiscard]] bool empty() const noexcept { return schedule_.empty(); }

private:
    void schedule(const std::shared_ptr<Ticker>& ticker);
    void unschedule(const std::shared_ptr<Ticker>& ticker);

    Schedule schedule_;
    Schedule::node_type spare_; ///< an entry that was used, for the next closure
    std::vector<std::shared_ptr<Ticker>> running_;
};

} // namespace sentrel::platform
