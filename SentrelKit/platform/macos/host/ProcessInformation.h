// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

/// What the process-information object tells, asked for at each call. Any thread.
namespace sentrel::platform::ProcessInformation {

[[nodiscard]] std::uint64_t physicalMemory() noexcept; ///< bytes
[[nodiscard]] double systemUptime() noexcept;          ///< seconds awake since boot
[[nodiscard]] long thermalState() noexcept;            ///< NSProcessInfoThermalState

} // namespace sentrel::platform::ProcessInformation
