// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Queues on a virtual clock. Nothing runs by itself: the test advances the clock, and everything that is due runs on
/// the test's own thread, in the order of its deadlines. One thread only.

#include <SentrelKit/platform/Clock.h>
#include <SentrelKit/platform/Dispatch.h>
#include <SentrelKit/platform/scripted/ScriptedCalls.h>

#include <memory>
#include <vector>

namespace sentrel::platform {

class ScriptedQueue;

/// A wall clock and a monotonic clock that move together when told to. As made it is 14 July 2017, 02:40 UTC. The
/// monotonic clock, which every queue and every frame reads, is not recorded. Moved on one thread, read on any other
/// one only while it stands.
class SENTREL_API ScriptedClock final : public Clock {
public:
    /// The wall clock; false, with errno EFAULT, while it cannot be read.
    bool read(WallClockReading& reading) noexcept override;
    std::int64_t monotonicNanoseconds() noexcept override { return monotonic_; }

    /// Sets the wall clock alone, as an administrator would. Microseconds since the epoch.
    void setWallMicroseconds(std::int64_t microseconds) noexcept { wallOffset_ = microseconds * 1000 - monotonic_; }

    ScriptedCalls calls; ///< what was asked, and how it fails

private:
    friend class ScriptedDispatch;
    std::int64_t monotonic_ = 0;
    std::int64_t wallOffset_ = 1'500'000'000'000'000'000; ///< nanoseconds since the epoch at the monotonic zero
};

/// Queues on a virtual clock: what they hold runs only inside `advance`, on the thread that calls it. Closures and
/// timers are recorded with the name of their queue ("main", "background" or that of a serial queue) and their delay or
/// interval in nanoseconds: "async background", "makeTimer main 1000000000". Handles are told as "timer main".
class SENTREL_API ScriptedDispatch final : public Dispatch {
public:
    /// Queues that follow a clock, which outlives them.
    explicit ScriptedDispatch(ScriptedClock& clock);
    ~ScriptedDispatch() override;

    std::shared_ptr<DispatchQueue> mainQueue() override;
    std::shared_ptr<DispatchQueue> backgroundQueue() override;
    std::shared_ptr<DispatchQueue> serialQueue(const std::string& name) override;

    /// As `advance`.
    void runMain(double seconds) override { advance(seconds); }

    /// The clock that the queues follow.
    [[nodiscard]] ScriptedClock& clock() const noexcept { return clock_; }

    /// Moves the clock on by so many seconds, running everything that comes due on the way at its time. An exception of
    /// a closure passes through; what else is due stays for the next call.
    void advance(double seconds);

    /// Runs what is ready at this moment, and what that makes ready, without moving the clock.
    void runPending() { advance(0); }

    /// Releases the closures that wait and suspends the timers.
    void clear();

    ScriptedCalls calls; ///< what was asked; nothing of it fails

    /// The queue whose closure runs now, or null outside of any.
    [[nodiscard]] const DispatchQueue* currentQueue() const noexcept { return running_; }

private:
    ScriptedClock& clock_;
    std::shared_ptr<ScriptedQueue> main_;
    std::shared_ptr<ScriptedQueue> background_;
    std::vector<std::shared_ptr<ScriptedQueue>> queues_; // as long as the platform
    const DispatchQueue* running_ = nullptr;
};

} // namespace sentrel::platform
