// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One observer of a value that changes on any thread.

#include <SentrelKit/base/system/detail/ForkGate.h>
#include <SentrelKit/base/system/detail/ThreadSafety.h>

#include <functional>
#include <optional>
#include <thread>
#include <utility>

namespace sentrel {

/// Calls an observer with ever newer values, one call at a time and under no lock, so that the observer may do
/// anything, its own release included. Changes that come while a call runs, from inside it too, are told together, as
/// the newest value, by the thread of that call. Any thread; whoever uses one holds it by a shared pointer.
template <class Value>
class ChangeObserver {
public:
    /// For an observer that was told nothing yet.
    explicit ChangeObserver(std::function<void(const Value&)> observer) : observer_(std::move(observer)) {}
    ChangeObserver(const ChangeObserver&) = delete;
    ChangeObserver& operator=(const ChangeObserver&) = delete;

    /// Leaves the newest value for `tell`. The caller sees to the order of values; it may hold locks. True if there is
    /// something to tell.
    bool offer(const Value& newest) {
        const LockScope scope(lock_);
        newest_ = newest;
        return !isCancelled_ && newest_ != told_;
    }

    /// Tells the value that was left, unless it was told or a call runs. The caller holds no lock. An exception of the
    /// observer passes through; the value counts as told.
    void tell() {
        while (const std::optional<Value> value = begin()) {
            const Call call{*this};
            observer_(*value);
        }
    }

    /// Lets no call begin any more.
    void cancel() {
        const LockScope scope(lock_);
        isCancelled_ = true;
    }

    /// The same, and waits for a call that runs on another thread.
    void release() {
        const LockScope scope(lock_);
        isCancelled_ = true;
        while (isCalled_ && caller_ != std::this_thread::get_id())
            ended_.wait(lock_);
    }

private:
    struct Call {
        ChangeObserver& observer;
        ~Call() { observer.end(); }
    };

    [[nodiscard]] std::optional<Value> begin() {
        const LockScope scope(lock_);
        if (isCancelled_ || isCalled_ || newest_ == told_)
            return std::nullopt;
        isCalled_ = true;
        caller_ = std::this_thread::get_id();
        told_ = newest_;
        return told_;
    }

    void end() {
        const LockScope scope(lock_);
        isCalled_ = false;
        ended_.notify_all();
    }

    const std::function<void(const Value&)> observer_;
    Lock lock_;
    Condition ended_;
    std::optional<Value> newest_ SENTREL_GUARDED_BY(lock_);
    std::optional<Value> told_ SENTREL_GUARDED_BY(lock_);
    RunningFlag isCalled_ SENTREL_GUARDED_BY(lock_);
    std::thread::id caller_ SENTREL_GUARDED_BY(lock_); // while a call runs
    bool isCancelled_ SENTREL_GUARDED_BY(lock_) = false;
};

} // namespace sentrel
