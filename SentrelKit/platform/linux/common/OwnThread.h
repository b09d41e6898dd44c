// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>

namespace sentrel::platform {

/// Runs the closure on a new detached thread that takes no signals: those belong to the host's own threads. For queues,
/// and for work that may block for long, or for ever, and must not hold a worker of one. False, with errno set, if
/// there is no thread to be had.
bool runOnOwnThread(std::function<void()> work);

/// Runs closures one after the other off the caller's thread, on a thread that lives while there is work.
class OwnThreadQueue {
public:
    OwnThreadQueue();
    ~OwnThreadQueue();
    OwnThreadQueue(const OwnThreadQueue&) = delete;
    OwnThreadQueue& operator=(const OwnThreadQueue&) = delete;

    /// False, with errno set, if there is no thread to be had. Work that was taken runs even when the queue goes away.
    bool async(std::function<void()> work);

private:
    struct State;
    std::shared_ptr<State> state_;
};

} // namespace sentrel::platform
