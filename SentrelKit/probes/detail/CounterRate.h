// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

namespace sentrel::probes {

/// How fast a counter grew, a second; absent where no time went by, and for a counter that went back.
[[nodiscard]] inline std::optional<double> counterRate(std::int64_t now, std::int64_t before,
                                                       std::int64_t nanoseconds) noexcept {
    constexpr double second = 1e9;
    if (nanoseconds <= 0 || now < before)
        return std::nullopt;
    return (static_cast<double>(now) - static_cast<double>(before)) * second / static_cast<double>(nanoseconds);
}

} // namespace sentrel::probes
