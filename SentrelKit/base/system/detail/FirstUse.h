// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <atomic>

namespace sentrel {

/// A value that its first user makes and that then lasts as long as the process. Unlike a static variable of a function
/// it can be had in the child of a fork that came while another thread was making it: the child makes its own.
template <class T>
class FirstUse {
public:
    /// The value, by `make`, which returns a pointer, if there is none yet. Whoever comes meanwhile waits. An exception
    /// of `make` passes through, and the next user tries again. Any thread.
    template <class Make>
    T& get(const Make& make) {
        if (T* value = value_.load(std::memory_order_acquire))
            return *value;
        lock_.lock();
        while (isBeingMade_)
            changed_.wait(lock_);
        T* value = value_.load(std::memory_order_relaxed);
        isBeingMade_ = value == nullptr;
        lock_.unlock();
        if (value)
            return *value;
        const Making making{*this};
        value = make();
        value_.store(value, std::memory_order_release);
        return *value;
    }

private:
    struct Making {
        FirstUse& self;
        ~Making() {
            const LockScope scope(self.lock_);
            self.isBeingMade_ = false;
            self.changed_.notify_all();
        }
    };

    std::atomic<T*> value_{nullptr};
    Lock lock_;
    Condition changed_ SENTREL_GUARDED_BY(lock_);
    RunningFlag isBeingMade_ SENTREL_GUARDED_BY(lock_);
};

} // namespace sentrel
