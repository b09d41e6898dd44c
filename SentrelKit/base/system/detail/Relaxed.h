// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <atomic>

namespace sentrel {

/// A word that any thread reads and writes without a lock, in no order with anything else: a figure of a model, whose
/// readers may see some of one sample and some of the next. Reading, adding and writing it back is three steps; only
/// its one writer may do that.
template <class T>
class Relaxed {
public:
    constexpr Relaxed(T value = T{}) noexcept : value_(value) {}
    Relaxed(const Relaxed&) = delete;
    Relaxed& operator=(const Relaxed&) = delete;

    /// The value now.
    operator T() const noexcept { return value_.load(std::memory_order_relaxed); }

    Relaxed& operator=(T value) noexcept {
        value_.store(value, std::memory_order_relaxed);
        return *this;
    }

    /// Sets the value if it is the expected one, in one step: of several threads one succeeds.
    void replace(T expected, T value) noexcept {
        value_.compare_exchange_strong(expected, value, std::memory_order_relaxed);
    }

private:
    std::atomic<T> value_;
    static_assert(std::atomic<T>::is_always_lock_free);
};

} // namespace sentrel
