// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/Mutex/Mutex.h>

#include <functional>
#include <utility>

namespace sentrel {

/// A value that is reached only under a lock of its own. Every operation is atomic with respect to every other one on
/// the same box; any thread may call them.
///
/// Closures run under the lock: they are short, take no other lock and do not touch the same box, which would deadlock.
/// A closure's exception passes through with the lock given back. If the system refuses the lock, the process stops
/// with "Failed to lock mutex" and the caller's location.
template <class T>
class Atomic {
public:
    /// A box with a value. Stops the process with "Failed to initialize Mutex" if the system refuses the lock.
    explicit Atomic(T value = T{}, SourceLocation where = SourceLocation::current())
        : mutex_(where), value_(std::move(value)) {}
    Atomic(const Atomic&) = delete;
    Atomic& operator=(const Atomic&) = delete;

    /// A copy of the value.
    [[nodiscard]] T value(SourceLocation where = SourceLocation::current()) const {
        return mutex_.synchronise([this]() SENTREL_REQUIRES(mutex_) { return value_; }, where);
    }

    /// Replaces the value. The old one is released after the lock was given back.
    void setValue(T value, SourceLocation where = SourceLocation::current()) {
        using std::swap;
        mutex_.synchronise([&]() SENTREL_REQUIRES(mutex_) { swap(value_, value); }, where);
    }

    /// Stores what the action makes of the value, which it takes by value or only reads, and returns the value as it
    /// was. If the action throws, the value is unchanged.
    template <class Action>
    T modify(Action&& action, SourceLocation where = SourceLocation::current()) {
        return mutex_.synchronise(
            [&]() SENTREL_REQUIRES(mutex_) {
                return std::exchange(value_, T(std::invoke(action, std::as_const(value_))));
            },
            where);
    }

    /// Stores the value and returns the one before.
    T swap(T value, SourceLocation where = SourceLocation::current()) {
        return modify([&](const T&) { return std::move(value); }, where);
    }

    /// Runs the action on the value in place and returns a copy of its result.
    template <class Action>
    auto withValue(Action&& action, SourceLocation where = SourceLocation::current()) {
        return mutex_.synchronise([&]() SENTREL_REQUIRES(mutex_) { return std::invoke(action, value_); }, where);
    }

    /// The same on a value that the action only reads.
    template <class Action>
    auto withValue(Action&& action, SourceLocation where = SourceLocation::current()) const {
        return mutex_.synchronise([&]() SENTREL_REQUIRES(mutex_) { return std::invoke(action, std::as_const(value_)); },
                                  where);
    }

private:
    mutable Mutex mutex_;
    T value_ SENTREL_GUARDED_BY(mutex_);
};

} // namespace sentrel
