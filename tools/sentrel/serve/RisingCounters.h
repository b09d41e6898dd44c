// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace tool {

/// Makes counters that never step back of those that machines have. A device that comes back counts on from where it
/// was, whether it kept its count or began at 0; what wobbles stands still until it is past where it was; what wraps
/// goes on. One thread at a time.
class RisingCounters {
public:
    /// How a counter may fall without having begun anew.
    struct Habits {
        double wobble = 0.0;           ///< by at most so much, now and then
        std::optional<double> range{}; ///< to 0 when it gets there
    };

    /// The counter's value, given its series and what the machine says now.
    [[nodiscard]] double value(const std::string& series, double counted, const Habits& habits);

    /// Ends a round of values. Of the series that were not in it, those that were there last are kept, up to a number.
    void endRound();

    /// How many series are known.
    [[nodiscard]] std::size_t size() const noexcept { return counters_.size(); }

    /// So many series that are gone are remembered, and up to twice as many for a while.
    static constexpr std::size_t remembered = 500;

private:
    struct Counter {
        double counted = 0.0;    // by the machine
        double value = 0.0;      // as told
        std::uint64_t round = 0; // that had it last
    };

    void forgetOldest();

    std::map<std::string, Counter> counters_;
    std::uint64_t round_ = 1;
};

} // namespace tool
