// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <libmnl/libmnl.h>
#include <optional>

namespace sentrel::platform {

/// What the kernel counted of one interface.
struct LinkCounters {
    std::uint32_t index = 0;
    std::int64_t packetsIn = 0;
    std::int64_t packetsOut = 0;
    std::int64_t bytesIn = 0;
    std::int64_t bytesOut = 0;
    std::int64_t errorsIn = 0;
    std::int64_t errorsOut = 0;
    std::int64_t dropsIn = 0;
    std::int64_t dropsOut = 0;
};

/// One message of the answer to RTM_GETSTATS with IFLA_STATS_LINK_64; absent if it does not hold them.
[[nodiscard]] std::optional<LinkCounters> parseCounters(const nlmsghdr& message) noexcept;

} // namespace sentrel::platform
