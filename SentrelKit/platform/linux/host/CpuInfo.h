// SPDX-License-Identifier: Apache-2.0
#pragma once

/// /proc/cpuinfo and the processor lists of /sys/devices/system/cpu.

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The processor's brand as the kernel spells it, blanks around it included, under whichever key this architecture has;
/// absent if there is none or it is blank.
[[nodiscard]] std::optional<std::string_view> findBrand(std::string_view cpuinfo) noexcept;

/// One online processor and the core it belongs to.
struct ProcessorCore {
    std::uint32_t processor = 0;
    std::optional<std::uint32_t> package; ///< absent where the architecture does not say
    std::optional<std::uint32_t> core;
    friend bool operator==(const ProcessorCore&, const ProcessorCore&) = default;
};

[[nodiscard]] std::vector<ProcessorCore> parseProcessors(std::string_view cpuinfo);

/// Reads a list such as "0-3,5,8-11\n" into its numbers, in rising order. Absent if it is no such list; an empty one is
/// a list.
[[nodiscard]] std::optional<std::vector<std::uint32_t>> parseProcessorList(std::string_view text);

} // namespace sentrel::platform
