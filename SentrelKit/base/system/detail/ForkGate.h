// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Keeps what locks guard whole across fork(2), which copies the calling thread alone: a lock that another thread holds
/// at that moment would never be given back in the child, and what it guards would stay half changed. Every lock of the
/// library passes this gate, so that a new lock is covered without anybody thinking of it.

#include <SentrelKit/Export.h>

namespace sentrel {

/// The gate of the process. A thread stands inside while it holds a lock or waits for one. A fork closes the gate,
/// waits for those inside to come out, splits the process and opens the gate again on both sides. It waits for a second
/// at most, for the sake of a host that keeps a lock while it waits for the forking thread: what is still locked then
/// stays locked in the child.
///
/// A child made without fork's handlers (vfork, posix_spawn, a bare clone) has no use for the gate: it does nothing but
/// start another program.
class SENTREL_API ForkGate {
public:
    /// Before a lock is taken; calls nest. Waits while another thread forks.
    static void enter() noexcept;

    /// After a lock was given back.
    static void leave() noexcept;

    /// Inside for a scope: for what one thread alone changes, without a lock, and a child must find whole.
    class Inside {
    public:
        Inside() noexcept { enter(); }
        ~Inside() { leave(); }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;
    };

    /// How many forks lie between this process and the one that loaded the library: another value than before tells
    /// that the threads of before are gone. Any thread.
    [[nodiscard]] static unsigned generation() noexcept;
};

/// A flag that stands for a thread at work, such as "a listing runs": the child of a fork finds it cleared, because the
/// thread did not come along. Not atomic; its owner guards it.
class RunningFlag {
public:
    /// Sets or clears the flag, for the threads of this process.
    RunningFlag& operator=(bool running) noexcept {
        running_ = running;
        generation_ = ForkGate::generation();
        return *this;
    }
    /// Whether a thread of this process is at work.
    operator bool() const noexcept { return running_ && generation_ == ForkGate::generation(); }

private:
    bool running_ = false;
    unsigned generation_ = 0;
};

} // namespace sentrel
