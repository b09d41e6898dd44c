// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The first power source and the manufacture date of a battery. Source: the platform's PowerService (IOKit power
/// sources on macOS, the power-supply class on Linux), of the session in force unless another is handed in.

#include <SentrelKit/Export.h>
#include <SentrelKit/probes/SystemManager.h>

#include <cstdint>
#include <functional>
#include <utility>

namespace sentrel::probes {

/// The state of the first power source. Lives on the probe's stack: the text is valid only during the call.
struct BatteryData {
    const char* health;       ///< condition in the driver's words, UTF-8; "Normal" if it has none
    std::uint8_t hasHealth;   ///< 1 if the driver reported a condition, else 0
    std::int32_t timeToEmpty; ///< minutes; 0 unless discharging, negative while it cannot be known
    std::int32_t timeToFull;  ///< minutes; 0 unless charging, negative while it cannot be known
    std::uint8_t isCharged;   ///< 1 or 0
    std::uint8_t isCharging;  ///< 1 or 0
    std::int32_t current;     ///< mA, negative while discharging; 0 if not known
    /// Charge ÷ full charge × 100, truncated toward zero, so that 29 of 100 can read 28. The smallest integer if this
    /// is no finite number in range, as without a full charge: meant so.
    std::int32_t percent;
    std::int32_t watts; ///< power of the external adapter; 0 without one, or if it does not tell
};

/// Calls the block at most once, before it returns: not at all on a machine without a power source. Any thread.
SENTREL_API void _getBatteryData(const PowerSourcesBlock& block, SystemManager& session = *System);

/// Keeps the block in place of any earlier one, calls it once at once, and from then on at each change of the power
/// sources, on the calling thread's loop (on macOS its run loop; on Linux its default GLib main context) for as long as
/// the session lives, which is that of the process for one that no override made. Each call adds one more source of
/// changes, and all deliver to the newest block, also in place of that of the models. The block runs under no lock and
/// may call everything. If there can be no source, one line on the standard error stream says so.
SENTREL_API void _batteryNotification(const PowerSourcesBlock& block, SystemManager& session = *System);

/// What every change of the power sources calls: delivers to the block of a session, whose SystemManager is the
/// context, or without one of the session in force. Without a block the process stops.
SENTREL_API void _powerSourceChangedAdapter(void* context);

/// Unpacks a manufacture date (day in bits 0 to 4, month in bits 5 to 8, year minus 1980 above) into texts: first the
/// battery's age ("3.5 years"), second the date ("14 Mar 2019"). Month 0 reads "Jan"; for months 13 to 15 the month's
/// text is empty and Time_build complains. Returns the pair. Its texts are the session's, overwritten by the next call:
/// one caller at a time.
SENTREL_API std::pair<const char*, const char*>*
_unpackBatteryDate(std::int32_t packed, std::pair<const char*, const char*>* pair, SystemManager& session = *System);

} // namespace sentrel::probes
