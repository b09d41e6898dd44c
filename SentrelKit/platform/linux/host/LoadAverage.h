// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /proc/loadavg: "0.10 0.03 0.01 1/94 8684", the three averages, runnable over existing threads, the newest id.

#include <SentrelKit/platform/HostService.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

struct LoadAverageLine {
    LoadAverages averages{};
    std::uint32_t threads = 0;
};

/// Reads the line; absent unless the averages and the number of threads are all there.
[[nodiscard]] std::optional<LoadAverageLine> parseLoadAverage(std::string_view content) noexcept;

} // namespace sentrel::platform
