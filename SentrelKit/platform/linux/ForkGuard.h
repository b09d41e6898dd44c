// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace sentrel::platform {

/// Hears of a fork in its child, where only the forking thread exists: for what a lock cannot keep whole, such as
/// threads and descriptors shared with the parent. No lock is held there by a thread that is gone (see ForkGate).
/// Objects are made and released on any thread.
class ForkGuard {
public:
    ForkGuard(const ForkGuard&) = delete;
    ForkGuard& operator=(const ForkGuard&) = delete;

protected:
    ForkGuard();
    virtual ~ForkGuard();

    virtual void afterForkInChild() = 0;

private:
    friend struct ForkHandlers;
};

} // namespace sentrel::platform
