// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The health of NVMe drives, from their "SMART / Health Information" log page, in the form of a SMART conversation.

#include <SentrelKit/platform/SmartInterface.h>
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace sentrel::platform {

using NvmeHealthLog = std::array<std::uint8_t, 512>;

/// True if the log's critical-warning byte names any trouble.
[[nodiscard]] bool hasCriticalWarning(const NvmeHealthLog& log) noexcept;

/// The log as a SMART data block: its composite temperature as attribute 194 in whole degrees Celsius, 0 to 255, and a
/// sound checksum. A drive that tells no temperature gives a block without the attribute.
[[nodiscard]] SmartData smartDataOfHealthLog(const NvmeHealthLog& log) noexcept;

/// True if the drive gives its health log; false also without the permission to ask.
[[nodiscard]] bool isNvmeSmartCapable(DeviceControl& control, const std::string& node);

/// Opens the drive; null, with errno set, on failure.
[[nodiscard]] std::unique_ptr<SmartPlugIn> openNvmeSmart(DeviceControl& control, const std::string& node);

} // namespace sentrel::platform
