// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/base/system/detail/Relaxed.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/system/MeasureSet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace sentrel {

/// What a model keeps of its groups of further facts: which are wanted, and what the last sample said of each. The
/// facts themselves are the model's; it shows those of a group while `has` says so. Any thread.
template <class Measure>
class Measuring {
public:
    /// From now on these groups are wanted. What was known of a group that is wanted anew is forgotten.
    void setWanted(MeasureSet<Measure> wanted) noexcept {
        const std::uint32_t added = wanted.bits() & ~std::uint32_t{wanted_};
        for (std::size_t i = 0; i < answers_.size(); ++i)
            if ((added >> i & 1U) != 0)
                answers_[i] = notAsked;
        wanted_ = wanted.bits();
    }

    /// The groups that are wanted.
    [[nodiscard]] MeasureSet<Measure> wanted() const noexcept { return MeasureSet<Measure>::ofBits(wanted_); }

    /// Whether a group is wanted.
    [[nodiscard]] bool wants(Measure measure) const noexcept { return wanted().contains(measure); }

    /// Keeps what a sample said of a group.
    void note(Measure measure, Availability availability) noexcept {
        answers_[static_cast<std::size_t>(measure)] = static_cast<std::uint8_t>(availability);
    }

    /// What the last sample said of a group; absent while the group is not wanted or was not sampled since.
    [[nodiscard]] std::optional<Availability> availability(Measure measure) const noexcept {
        const std::uint8_t answer = answers_[static_cast<std::size_t>(measure)];
        if (!wants(measure) || answer == notAsked)
            return std::nullopt;
        return static_cast<Availability>(answer);
    }

    /// Whether the facts of a group are to be shown.
    [[nodiscard]] bool has(Measure measure) const noexcept { return availability(measure) == Availability::available; }

private:
    static constexpr std::uint8_t notAsked = 0xFF;

    Relaxed<std::uint32_t> wanted_;
    std::array<Relaxed<std::uint8_t>, 32> answers_{};
};

} // namespace sentrel
