// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Repeating timers on the main or the background queue, and closures that run once, later or elsewhere.

#include <SentrelKit/Export.h>
#include <SentrelKit/X11Names.h>
#include <SentrelKit/platform/DispatchQueue.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>

namespace sentrel {

/// A repeating timer that can be started and suspended any number of times.
///
/// One thread, the owner's, calls start, suspend and cancel and releases the timer; the closure runs on the timer's
/// queue. Releasing is safe in every state, also from inside the closure; no tick begins after it. What runs first, and
/// what becomes of an exception, stands at the queues (platform/DispatchQueue.h).
class SENTREL_API Timer {
public:
    /// What a timer does.
    enum class Status : std::uint8_t {
        initial,   ///< made and never started
        started,   ///< ticking
        suspended, ///< stopped until it is started again
        canceled,  ///< ended for good
    };

    /// A stopped timer that ticks every `interval` seconds on the background queue, or else on the main queue. The
    /// interval is kept to the nanosecond; not-a-number, 0 and negative intervals count as one nanosecond.
    Timer(double interval, bool background, std::function<void()> closure);

    /// A stopped timer that ticks every `interval` seconds on a queue.
    Timer(double interval, DispatchQueue& queue, std::function<void()> closure);

    /// A stopped timer on the main queue. Note that `delay` has the opposite default.
    Timer(double interval, std::function<void()> closure) : Timer(interval, false, std::move(closure)) {}

    /// The same with the interval as a duration.
    Timer(std::chrono::duration<double> interval, bool background, std::function<void()> closure)
        : Timer(interval.count(), background, std::move(closure)) {}
    /// The same on a queue.
    Timer(std::chrono::duration<double> interval, DispatchQueue& queue, std::function<void()> closure)
        : Timer(interval.count(), queue, std::move(closure)) {}
    /// The same on the main queue.
    Timer(std::chrono::duration<double> interval, std::function<void()> closure)
        : Timer(interval.count(), std::move(closure)) {}

    virtual ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// What the timer does now. On its owner's thread.
    [[nodiscard]] Status status() const noexcept { return status_; }

    /// Starts an initial or suspended timer; the first tick comes one whole interval later. Else nothing.
    void start();

    /// Suspends a started timer. Else nothing.
    void suspend();

    /// Ends a started timer for good. An initial or suspended timer stays as it is: meant so.
    void cancel();

    /// Runs the closure once, `seconds` from now, on the background queue or else on the main queue. Any thread.
    static void delay(double seconds, bool background, std::function<void()> closure);

    /// Runs the closure once, `seconds` from now, on the background queue. Any thread.
    static void delay(double seconds, std::function<void()> closure) { delay(seconds, true, std::move(closure)); }

    /// The same with a duration.
    static void delay(std::chrono::duration<double> time, bool background, std::function<void()> closure) {
        delay(time.count(), background, std::move(closure));
    }
    /// The same on the background queue.
    static void delay(std::chrono::duration<double> time, std::function<void()> closure) {
        delay(time.count(), std::move(closure));
    }

    /// Runs the closure soon on the background queue. Any thread.
    static void onBackground(std::function<void()> closure);

    /// Runs the closure soon on the main queue. Any thread.
    static void onMain(std::function<void()> closure);

private:
    Status status_ = Status::initial;
    std::unique_ptr<RepeatingTimer> timer_;
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Timer::Status value);

} // namespace sentrel
