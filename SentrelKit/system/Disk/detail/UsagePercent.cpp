// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Disk/detail/UsagePercent.h>

namespace sentrel {

std::uint8_t truncatedPercent(std::int64_t used, std::int64_t total) noexcept {
    if (total == 0)
        return 0;
    constexpr double bound = 9223372036854775808.0; // 2 to the 63rd
    const double percent = static_cast<double>(used) / static_cast<double>(total) * 100.0;
    if (!(percent > -bound && percent < bound))
        return 0;
    return static_cast<std::uint8_t>(static_cast<std::int64_t>(percent) & 0xFF);
}

} // namespace sentrel
