// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

namespace sentrel {

/// The last values of a figure, of a fixed number, for charts:
///
///     History<double> load(120);
///     const Observation feeding =
///         system.observeSamples(system.cpu(), [&] { load.append(system.cpu().usage()); });
///     ...
///     chart.setDataPoints(load.points());
///
/// One thread at a time appends, which takes no lock, waits for nobody and needs no memory. Any thread reads at any
/// time, also without a lock; a reader that is overtaken leaves out the oldest values that were replaced meanwhile.
template <class T>
class History {
    static_assert(std::is_trivially_copyable_v<T> && std::is_default_constructible_v<T>);

public:
    /// An empty history of the last `length` values; 0 counts as 1.
    explicit History(std::size_t length)
        : length_(std::max<std::size_t>(length, 1)), slots_(std::make_unique<Slot[]>(length_)) {}
    History(const History&) = delete;
    History& operator=(const History&) = delete;

    /// How many values it keeps at most.
    [[nodiscard]] std::size_t length() const noexcept { return length_; }

    /// How many values were ever appended.
    [[nodiscard]] std::uint64_t count() const noexcept { return written_.load(std::memory_order_acquire); }

    /// Adds a value, in place of the oldest one once it is full.
    void append(const T& value) noexcept {
        const std::uint64_t count = written_.load(std::memory_order_relaxed);
        // A reader that sees a word of the new value sees this too, and knows that the slot's old value is gone.
        begun_.store(count + 1, std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_release);
        slots_[count % length_].store(value);
        written_.store(count + 1, std::memory_order_release);
    }

    /// The values, oldest first.
    [[nodiscard]] std::vector<T> values() const {
        const std::uint64_t end = count();
        const std::uint64_t first = replacedBy(end);
        std::vector<T> values;
        values.reserve(static_cast<std::size_t>(end - first));
        for (std::uint64_t i = first; i < end; ++i)
            values.push_back(slots_[i % length_].load());
        const std::uint64_t replaced = std::clamp(replacedBy(begun()), first, end) - first; // meanwhile
        values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(replaced));
        return values;
    }

    /// The newest value; absent before the first.
    [[nodiscard]] std::optional<T> last() const {
        // As long as another value takes the place of the newest one while it is read, there is a newer one.
        for (;;) {
            const std::uint64_t count = this->count();
            if (count == 0)
                return std::nullopt;
            const T value = slots_[(count - 1) % length_].load();
            if (begun() < count + length_)
                return value;
        }
    }

    /// The values as a line chart takes them, oldest first: times `scale`, rounded to the nearest whole number. What is
    /// no number is 0, and what lies beyond 64 bits the nearest of them.
    [[nodiscard]] std::vector<std::int64_t> points(double scale = 1.0) const requires std::is_arithmetic_v<T> {
        std::vector<std::int64_t> points;
        for (const T value : values())
            points.push_back(rounded(static_cast<double>(value) * scale));
        return points;
    }

private:
    // A value in words that may be read while they are written.
    class Slot {
    public:
        void store(const T& value) noexcept {
            std::array<std::uint64_t, words> copy{};
            std::memcpy(copy.data(), &value, sizeof(T));
            for (std::size_t i = 0; i < words; ++i)
                words_[i].store(copy[i], std::memory_order_relaxed);
        }
        [[nodiscard]] T load() const noexcept {
            std::array<std::uint64_t, words> copy;
            for (std::size_t i = 0; i < words; ++i)
                copy[i] = words_[i].load(std::memory_order_relaxed);
            T value;
            std::memcpy(static_cast<void*>(&value), copy.data(), sizeof(T));
            return value;
        }

    private:
        static constexpr std::size_t words = (sizeof(T) + sizeof(std::uint64_t) - 1) / sizeof(std::uint64_t);
        std::array<std::atomic<std::uint64_t>, words> words_{};
    };

    // How many values were begun, after everything that was read before.
    [[nodiscard]] std::uint64_t begun() const noexcept {
        std::atomic_thread_fence(std::memory_order_acquire);
        return begun_.load(std::memory_order_relaxed);
    }

    // How many of the first values are gone once so many were begun.
    [[nodiscard]] std::uint64_t replacedBy(std::uint64_t count) const noexcept {
        return count > length_ ? count - length_ : 0;
    }

    static std::int64_t rounded(double value) noexcept {
        constexpr double limit = 9223372036854775808.0; // 2^63
        if (std::isnan(value))
            return 0;
        if (value >= limit)
            return std::numeric_limits<std::int64_t>::max();
        return value <= -limit ? std::numeric_limits<std::int64_t>::min() : std::llround(value);
    }

    const std::size_t length_;
    const std::unique_ptr<Slot[]> slots_;
    std::atomic<std::uint64_t> begun_{0};
    std::atomic<std::uint64_t> written_{0};
};

} // namespace sentrel
