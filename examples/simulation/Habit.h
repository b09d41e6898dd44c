// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <random>

namespace simulation {

/// From the lowest value to the highest.
struct Range {
    double low = 0;
    double high = 0;
};

/// The same values on every machine for one seed, which the standard's distributions do not promise.
class Random {
public:
    explicit Random(std::uint32_t seed) : words_(seed) {}

    double between(Range range) {
        constexpr double words = 4294967296.0; // there are of 32 bits
        return range.low + (range.high - range.low) * (static_cast<double>(words_()) / words);
    }

private:
    std::mt19937 words_;
};

/// How a figure behaves: every so many seconds it makes for another value, mostly a usual one, now and then one of a
/// burst.
struct Habit {
    Range usual;
    Range burst = usual;
    double bursts = 0;    ///< share of the values that are bursts, 0 to 1
    Range lasts = {2, 6}; ///< seconds until the next value
    double inertia = 1.5; ///< seconds after which it is 63 % of the way there
};

/// Seconds of one step of everything that moves. A sample takes some twenty of them, so that it hardly matters that
/// counters stand still between two.
constexpr double stepSeconds = 0.05;

/// A figure with a habit. It never leaves the ranges of that.
class Figure {
public:
    explicit Figure(const Habit& habit)
        : habit_(habit), gain_(1 - std::exp(-stepSeconds / habit.inertia)),
          value_((habit.usual.low + habit.usual.high) / 2), goal_(value_) {}

    [[nodiscard]] double value() const { return value_; }

    void step(Random& random) {
        left_ -= stepSeconds;
        if (left_ <= 0) {
            left_ = random.between(habit_.lasts);
            goal_ = random.between(random.between({0, 1}) < habit_.bursts ? habit_.burst : habit_.usual);
        }
        value_ += (goal_ - value_) * gain_;
    }

private:
    Habit habit_;
    double gain_;
    double value_;
    double goal_;
    double left_ = 0;
};

} // namespace simulation
