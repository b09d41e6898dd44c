// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sentrel::platform {

/// How much of /proc/stat holds its "btime" line: it stands behind a line for each processor and one for all
/// interrupts, a few hundred KiB on the largest machines.
inline constexpr std::size_t statLimit = std::size_t{4} << 20;

/// Reads the "btime" line, seconds since the epoch; absent if there is none.
[[nodiscard]] std::optional<std::int64_t> parseBootTime(std::string_view stat) noexcept;

} // namespace sentrel::platform
