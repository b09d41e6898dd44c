// SPDX-License-Identifier: Apache-2.0
#pragma once

/// SMART conversations with ATA drives through the kernel's SCSI generic interface (SG_IO), which carries ATA commands
/// inside "ATA PASS-THROUGH (16)" (T10 SAT) also to drives behind USB bridges. Each command has a time-out of its own.

#include <SentrelKit/platform/SmartInterface.h>
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace sentrel::platform {

/// The registers in which a drive answers a command that carries no data.
struct AtaRegisters {
    std::uint8_t error = 0;
    std::uint8_t count = 0;
    std::uint8_t lbaLow = 0;
    std::uint8_t lbaMid = 0;
    std::uint8_t lbaHigh = 0;
    std::uint8_t status = 0;
};

/// The registers inside SCSI sense data, in descriptor or fixed format; absent if it holds none, as garbled data does.
[[nodiscard]] std::optional<AtaRegisters> parseAtaSense(std::span<const std::uint8_t> sense) noexcept;

/// True if the 512 bytes of a SMART data block sum up to zero, as the ATA command set wants.
[[nodiscard]] bool isSoundSmartData(const SmartData& data) noexcept;

/// True if an ATA drive answers behind the node and has SMART, or sleeps and cannot say without waking up. False also
/// without the permission to ask. Never wakes a drive.
[[nodiscard]] bool isAtaSmartCapable(DeviceControl& control, const std::string& node);

/// Opens the drive; null, with errno set, on failure.
[[nodiscard]] std::unique_ptr<SmartPlugIn> openAtaSmart(DeviceControl& control, const std::string& node);

} // namespace sentrel::platform
