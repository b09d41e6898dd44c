// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace sentrel::platform {

/// Hears of a fork in its child, where only the forking thread exists: for what a lock cannot keep whole, such as
/// threads and descriptors shared with the parent. No lock is held there by a thread that is gone (see ForkGate). The
/// last member of what it guards: it hears only while all the others are there. Made and released on any thread.
class ForkGuard {
public:
    explicit ForkGuard(std::function<void()> inChild);
    ~ForkGuard();
    ForkGuard(const ForkGuard&) = delete;
    ForkGuard& operator=(const ForkGuard&) = delete;

private:
    friend struct ForkHandlers;
    const std::function<void()> inChild_;
};

} // namespace sentrel::platform
