// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace sentrel {

/// The rate of a counter: (now - before) * 1000 / milliseconds, negative for one that went back. A difference beyond 64
/// bits keeps its low ones. The time is more than 0.
[[nodiscard]] inline double perSecond(std::int64_t now, std::int64_t before, std::int64_t milliseconds) noexcept {
    const auto difference =
        static_cast<std::int64_t>(static_cast<std::uint64_t>(now) - static_cast<std::uint64_t>(before));
    return static_cast<double>(difference) * 1000.0 / static_cast<double>(milliseconds);
}

} // namespace sentrel
