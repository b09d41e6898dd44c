// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace sentrel {

/// used ÷ total × 100, truncated toward zero; of the result the low 8 bits, through a wider integer. 0 if the total
/// is 0 or the result is no number that 64 bits hold.
[[nodiscard]] std::uint8_t truncatedPercent(std::int64_t used, std::int64_t total) noexcept;

} // namespace sentrel
