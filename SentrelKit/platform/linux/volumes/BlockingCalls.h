// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Calls that may never return, kept off everybody's threads.

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <cstddef>
#include <memory>

namespace sentrel::platform {

/// A call that may never return.
class BlockingCall {
public:
    virtual ~BlockingCall() = default;

    /// The call itself, on a thread that takes no signals.
    virtual void run() noexcept = 0;
};

/// Runs such calls on a bounded number of threads: one for each that does not return, and few for all that do. When
/// every thread is held by a call that does not return, the others wait for their turn. Idle threads go away. Any
/// thread.
class BlockingCalls {
public:
    explicit BlockingCalls(std::size_t mostThreads = 64);
    /// Does not wait: calls that run are left to their end, those that wait for a thread are dropped.
    ~BlockingCalls();
    BlockingCalls(const BlockingCalls&) = delete;
    BlockingCalls& operator=(const BlockingCalls&) = delete;

    /// Runs the call as soon as there is a thread for it, and keeps it until it returned. False, with errno set, if
    /// there is none to be had. Allocates nothing once warm.
    bool start(std::shared_ptr<BlockingCall> call);

private:
    struct State;
    const std::shared_ptr<State> state_; // shared with the threads, which may never return
};

} // namespace sentrel::platform
