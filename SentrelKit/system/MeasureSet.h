// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <initializer_list>

namespace sentrel {

/// Some of a model's groups of further facts, such as `{CPU::Measure::cores, CPU::Measure::pressure}`. An enumeration
/// of groups counts from 0 to at most 31.
template <class Measure>
class MeasureSet {
public:
    /// The groups that are named; none for `{}`.
    constexpr MeasureSet(std::initializer_list<Measure> measures) noexcept {
        for (const Measure measure : measures)
            bits_ |= bit(measure);
    }

    /// Whether a group is in it.
    [[nodiscard]] constexpr bool contains(Measure measure) const noexcept { return (bits_ & bit(measure)) != 0; }

    /// Whether both have the same groups.
    friend constexpr bool operator==(const MeasureSet&, const MeasureSet&) = default;

    /// A bit for each group, the first one's lowest.
    [[nodiscard]] constexpr std::uint32_t bits() const noexcept { return bits_; }
    /// The set with these bits.
    [[nodiscard]] static constexpr MeasureSet ofBits(std::uint32_t bits) noexcept {
        MeasureSet set{};
        set.bits_ = bits;
        return set;
    }

private:
    static constexpr std::uint32_t bit(Measure measure) noexcept {
        return std::uint32_t{1} << static_cast<std::uint32_t>(measure);
    }

    std::uint32_t bits_ = 0;
};

} // namespace sentrel
