// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How many processors and cores the machine has, and how many of them are online.
///
/// The machine's processors are those present: firmware often reserves room for more, which the kernel calls possible.
/// The kernel forgets the core of a processor that is offline; cores without any processor online are reckoned from the
/// number of threads that a core has.

#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include <cstdint>
#include <optional>

namespace sentrel::platform {

struct CpuTopology {
    std::uint32_t possible = 0;
    std::uint32_t logical = 0;        ///< processors present
    std::uint32_t logicalOnline = 0;  ///< isolated ones included
    std::uint32_t physical = 0;       ///< cores present
    std::uint32_t physicalOnline = 0; ///< cores with a processor online
    friend bool operator==(const CpuTopology&, const CpuTopology&) = default;
};

/// Reads /sys/devices/system/cpu; what is missing there is taken from /proc/cpuinfo, and else every processor counts as
/// present and as a core of its own. Absent if neither tells which processors are online.
[[nodiscard]] std::optional<CpuTopology> readCpuTopology(const SystemRoot& root);

} // namespace sentrel::platform
