#pragma once

namespace sentrel::platform {

/// Keeps an object whole across fork: its lock is held while the process splits, so that neither side finds it half
/// changed. Objects are made and released on any thread.
class ForkGuard {
public:
    ForkGuard(const ForkGuard&) = delete;
    ForkGuard& operator=(const ForkGuard&) = delete;

protected:
    ForkGuard();
    virtual ~ForkGuard();

    /// Takes the object's lock.
    virtual void beforeFork() = 0;
    /// Releases it in the parent.
    virtual void afterForkInParent() = 0;
    /// Releases it in the child, where only the forking thread exists.
    virtual void afterForkInChild() = 0;

private:
    friend struct ForkHandlers;
};

} // namespace sentrel::platform
