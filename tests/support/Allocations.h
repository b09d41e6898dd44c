// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Sanitizers.h"

#include <cstddef>

namespace sentrel {

/// The address and the thread sanitizer bring their own operators, for every form there is, and cannot do without.
inline constexpr bool countsAllocations = !underThreadSanitizer && !underAddressSanitizer;

/// How often this thread has taken memory from the heap through `new`. A program that calls this counts.
[[nodiscard]] std::size_t allocations() noexcept;

} // namespace sentrel
