// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Queues: where closures run. The main queue runs its closures one after the other on the thread that runs the host's
/// main loop; the background queue runs them concurrently on low-priority threads.
///
/// A closure or tick that throws ends the process (std::terminate), except on the main queue while `runMain` serves it:
/// there the exception leaves `runMain`, what else is due stays for the next call, and the timer ticks on.
///
/// On macOS the queues are the system's own, and the order of what is due is theirs. On Linux:
///
/// - What is due first runs first: a closure at the moment it was given, or at the end of its delay, a tick at its
///   deadline. A closure that gives itself again and again holds no timer of its queue up, nor a tick that takes longer
///   than its interval the closures.
/// - The ticks of the background queue do not wait for its closures, however many of those block; nor do they wait for
///   other ticks that block, as long as those are but a few.
/// - The main queue leaves the host's own work a turn after each few milliseconds of its own, or each closure that
///   takes longer.

#include <SentrelKit/Export.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace sentrel {

/// A repeating timer on a queue, created suspended. Its owner's thread resumes, suspends and releases it; releasing it
/// is safe in every state, also from inside its own tick.
///
/// - The first tick comes one whole interval after every resume; deadlines then lie on a grid and do not drift.
/// - Ticks that come due while a tick runs, or while the queue is busy, merge into one.
/// - A timer's ticks never overlap themselves; ticks of two timers on a concurrent queue may.
/// - After suspend, cancel or release returned no new tick begins; one that already runs finishes.
class SENTREL_API RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;
    /// Starts ticking; the first tick comes one whole interval later. A timer that ticks, or was cancelled, stays as it
    /// is.
    virtual void resume() = 0;
    /// Stops ticking until it is resumed.
    virtual void suspend() = 0;
    /// Stops ticking for good.
    virtual void cancel() = 0;
};

/// A queue of closures. Every member may be called from any thread.
class SENTREL_API DispatchQueue {
public:
    virtual ~DispatchQueue() = default;

    /// Runs the closure soon, never before this returns to a main-queue caller.
    virtual void async(std::function<void()> work) = 0;

    /// Runs the closure once, no earlier than `nanoseconds` from now. Negative counts as 0.
    virtual void after(std::int64_t nanoseconds, std::function<void()> work) = 0;

    /// A suspended repeating timer. `nanoseconds` below 1 counts as 1.
    [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> makeTimer(std::int64_t nanoseconds,
                                                                    std::function<void()> tick) = 0;

    /// The system's own queue behind this one, for a backend that hands it on to the system (macOS: dispatch_queue_t).
    /// Null where there is none. Valid as long as this queue.
    [[nodiscard]] virtual void* nativeHandle() const noexcept { return nullptr; }
};

/// Seconds as whole nanoseconds by truncation; not-a-number and negative seconds give 0, huge ones the largest count.
[[nodiscard]] SENTREL_API std::int64_t nanosecondsFromSeconds(double seconds) noexcept;

namespace dispatch {

/// The main queue of the platform in force.
[[nodiscard]] SENTREL_API std::shared_ptr<DispatchQueue> mainQueue();

/// The background queue of the platform in force.
[[nodiscard]] SENTREL_API std::shared_ptr<DispatchQueue> backgroundQueue();

/// A new serial queue of the platform in force.
[[nodiscard]] SENTREL_API std::shared_ptr<DispatchQueue> serialQueue(const std::string& name);

/// Serves the main queue for so many seconds on the calling thread, which is then the main thread. A host with a loop
/// of its own (GLib, GTK, Qt on GLib, NSApplication) does not call this. An exception of a closure or tick ends it and
/// passes through.
SENTREL_API void runMain(double seconds);
/// The same with a duration.
inline void runMain(std::chrono::duration<double> time) {
    runMain(time.count());
}

/// For a host with any other main loop, on X11, libuv or poll itself: a descriptor that poll, select and epoll find
/// readable while the main queue has something to run. The host then calls `serveMain`; it never reads from it or
/// closes it. The same for as long as the platform in force lives; another in a forked child. -1 where every main loop
/// serves the queue (macOS) and for a machine whose time only its test moves; with errno set if no descriptor is to be
/// had. Any thread.
[[nodiscard]] SENTREL_API int mainDescriptor();

/// Runs what is due on the main queue on the calling thread, which is then the main thread: at least one closure, then
/// others for a few milliseconds. What is left keeps `mainDescriptor` readable, so that the host has its turn first.
SENTREL_API void serveMain();

} // namespace dispatch

} // namespace sentrel
