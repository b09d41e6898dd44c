// SPDX-License-Identifier: Apache-2.0
#pragma once

/// All that a drive tells of its health: the attributes of an ATA drive, the health log of an NVMe drive.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/Availability.h>
#include <SentrelKit/platform/SmartInterface.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sentrel::probes {

/// One attribute of an ATA drive. What its numbers mean is its maker's choice, but for this: a value at its threshold
/// or below it tells of a failure.
struct SmartAttribute {
    std::uint8_t id = 0;                     ///< 1 to 255
    std::string_view name;                   ///< what most makers use the id for, or "unknown"; lives for ever
    std::uint8_t value = 0;                  ///< by the drive's own scale; more is better
    std::uint8_t worst = 0;                  ///< the lowest value ever
    std::optional<std::uint8_t> threshold{}; ///< absent if the drive does not tell it, as on macOS
    std::uint64_t raw = 0;                   ///< 48 bits
};

/// A drive's health in detail. What the drive does not tell is absent.
struct SmartDetails {
    std::optional<bool> healthy{};                 ///< the drive's own verdict
    std::vector<SmartAttribute> attributes{};      ///< of an ATA drive, in its order; empty for any other
    std::optional<double> temperature{};           ///< degrees Celsius
    std::optional<std::int64_t> powerOnHours{};    ///< in all its life
    std::optional<std::int64_t> powerCycles{};     ///< in all its life
    std::optional<double> wear{};                  ///< of an NVMe drive: percent of its endurance used, 0 to 255
    std::optional<double> spare{};                 ///< of an NVMe drive: percent of its spare blocks left, 0 to 100
    std::optional<double> spareThreshold{};        ///< of an NVMe drive: percent of spare blocks below which it warns
    std::optional<std::int64_t> unsafeShutdowns{}; ///< of an NVMe drive: losses of power without a word before
    std::optional<std::int64_t> mediaErrors{};     ///< of an NVMe drive: data that it could not give back
};

/// What the attribute table of an ATA drive tells, with its thresholds or null (ATA command set, "Device SMART data
/// structure" and "thresholds": each 30 entries of 12 bytes after a two-byte revision).
[[nodiscard]] SENTREL_API SmartDetails decodeAttributes(const platform::SmartData& data,
                                                        const platform::SmartData* thresholds);

/// What the health log of an NVMe drive tells (its log page 02h).
[[nodiscard]] SENTREL_API SmartDetails decodeHealthLog(const platform::SmartData& log);

/// Asks the drive behind a device by its name. Blocks for as long as the drive takes to answer, seconds if it is in
/// trouble: not for a sampling tick, nor for the main thread. Any other thread. The details stay as they were unless
/// available. `unsupported`: no drive that has SMART stands behind the device; `denied`: the process may not send it
/// commands (Linux: the group "disk" for its node and CAP_SYS_RAWIO for ATA commands, CAP_SYS_ADMIN for NVMe);
/// `failed`: it gave no sound answer, or sleeps, as it is not woken. macOS: ATA drives alone, without thresholds.
SENTREL_API Availability readSmartDetails(const char* deviceName, SmartDetails& details,
                                          SystemManager& session = *System);

} // namespace sentrel::probes
