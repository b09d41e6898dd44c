// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Clang's thread-safety annotations (nothing under other compilers) and the annotated lock of the lower layers.

#include <SentrelKit/Export.h>
#include <SentrelKit/base/system/detail/ForkGate.h>

#include <condition_variable>
#include <memory>
#include <mutex>

#if defined(__clang__)
/// An attribute that only Clang knows; nothing under other compilers.
#define SENTREL_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define SENTREL_THREAD_ATTRIBUTE(x)
#endif

/// Marks a class as a lock; the name says what the messages call it.
#define SENTREL_CAPABILITY(name) SENTREL_THREAD_ATTRIBUTE(capability(name))
/// Marks a class that holds a lock from its making to its release.
#define SENTREL_SCOPED_CAPABILITY SENTREL_THREAD_ATTRIBUTE(scoped_lockable)
/// The field is read and written only with the lock held.
#define SENTREL_GUARDED_BY(lock) SENTREL_THREAD_ATTRIBUTE(guarded_by(lock))
/// What the field points to is read and written only with the lock held.
#define SENTREL_PT_GUARDED_BY(lock) SENTREL_THREAD_ATTRIBUTE(pt_guarded_by(lock))
/// The caller holds the locks.
#define SENTREL_REQUIRES(...) SENTREL_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// The call takes the locks.
#define SENTREL_ACQUIRE(...) SENTREL_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// The call gives the locks back.
#define SENTREL_RELEASE(...) SENTREL_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// The call takes the locks if it returns its first argument.
#define SENTREL_TRY_ACQUIRE(...) SENTREL_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
/// The caller does not hold the locks.
#define SENTREL_EXCLUDES(...) SENTREL_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// The function is not checked.
#define SENTREL_NO_THREAD_SAFETY_ANALYSIS SENTREL_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace sentrel {

/// The standard mutex with annotations, for the layers below `Mutex`. At a fork no other thread holds it.
class SENTREL_CAPABILITY("mutex") Lock {
public:
    /// Waits for the lock.
    void lock() SENTREL_ACQUIRE() {
        ForkGate::enter();
        mutex_.lock();
    }
    /// Gives the lock back.
    void unlock() SENTREL_RELEASE() {
        mutex_.unlock();
        ForkGate::leave();
    }

private:
    std::mutex mutex_;
};

/// Holds a `Lock` for a scope.
class SENTREL_SCOPED_CAPABILITY LockScope {
public:
    /// Waits for the lock.
    explicit LockScope(Lock& lock) SENTREL_ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    ~LockScope() SENTREL_RELEASE() { lock_.unlock(); }
    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Lock& lock_;
};

/// What threads wait for under a `Lock`, which the caller of each member holds. In the child of a fork it begins anew:
/// the threads that waited did not come along.
class Condition {
public:
    Condition() = default;
    ~Condition() { forgetOthersWaiting(); }
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    /// Wakes one of those that wait.
    void notify_one() { current().notify_one(); }
    /// Wakes all that wait.
    void notify_all() { current().notify_all(); }
    /// Waits, with the lock given back meanwhile; may also return without a reason.
    void wait(Lock& lock) SENTREL_REQUIRES(lock) { current().wait(lock); }
    /// The same up to a point in time.
    template <class Time>
    std::cv_status wait_until(Lock& lock, const Time& end) SENTREL_REQUIRES(lock) {
        return current().wait_until(lock, end);
    }

private:
    std::condition_variable_any& current() {
        forgetOthersWaiting();
        if (!condition_) {
            condition_ = std::make_unique<std::condition_variable_any>();
            generation_ = ForkGate::generation();
        }
        return *condition_;
    }

    // Left alone, not destroyed: its end would wait for threads that exist in the parent only.
    void forgetOthersWaiting() noexcept {
        if (generation_ != ForkGate::generation())
            static_cast<void>(condition_.release());
    }

    std::unique_ptr<std::condition_variable_any> condition_;
    unsigned generation_ = 0;
};

} // namespace sentrel
