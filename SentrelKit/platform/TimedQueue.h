#pragma once

/// The bookkeeping of a queue on a clock: closures that are ready, closures and timer ticks that come due. It holds no
/// lock, no thread and no clock; its owner passes the time in (nanoseconds of any clock that never steps back) and
/// guards every call with one lock.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace sentrel::platform {

class SENTREL_API TimedQueue {
public:
    using Work = std::function<void()>;

    /// A repeating timer's state. Shared between its owner and a tick that runs.
    class SENTREL_API Ticker {
    public:
        Ticker(std::int64_t interval, Work tick);

    private:
        friend class TimedQueue;
        std::int64_t interval_;
        std::shared_ptr<const Work> tick_;
        bool resumed_ = false;
        bool running_ = false;
        bool waiting_ = false; ///< stands in the schedule at deadline_
        std::int64_t deadline_ = 0;
    };

    /// One closure to run now, outside the owner's lock; afterwards `finished` takes it back.
    class Job {
    public:
        void run() const { ticker_ ? (*tick_)() : work_(); }

    private:
        friend class TimedQueue;
        Work work_;
        std::shared_ptr<Ticker> ticker_;
        std::shared_ptr<const Work> tick_;
    };

    void push(Work work);
    void pushAt(std::int64_t deadline, Work work);

    /// The first tick comes one whole interval after now. A resumed ticker stays as it is.
    void resume(const std::shared_ptr<Ticker>& ticker, std::int64_t now);

    /// No new tick begins. Also what cancelling and releasing do.
    void suspend(const std::shared_ptr<Ticker>& ticker);

    /// The next thing to run at `now`, if any: ready closures first in their order, then what is due, earliest first.
    [[nodiscard]] std::optional<Job> take(std::int64_t now);

    /// Ends a job: a ticker that is still resumed waits for its next deadline.
    void finished(Job& job);

    /// The time at which there is something to take: now if a closure is ready, else the earliest deadline, if any.
    [[nodiscard]] std::optional<std::int64_t> nextDeadline(std::int64_t now) const;

    [[nodiscard]] bool empty() const noexcept { return ready_.empty() && schedule_.empty(); }

private:
    struct Entry {
        Work work;
        std::shared_ptr<Ticker> ticker;
    };

    void schedule(const std::shared_ptr<Ticker>& ticker);
    void unschedule(const std::shared_ptr<Ticker>& ticker);

    std::deque<Work> ready_;
    std::multimap<std::int64_t, Entry> schedule_; // equal deadlines keep the order in which they were made
};

} // namespace sentrel::platform
