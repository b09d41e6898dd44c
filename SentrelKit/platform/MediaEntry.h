// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The device tree behind a disk: its counters and the way to its drive.

#include <SentrelKit/Export.h>
#include <SentrelKit/platform/SmartInterface.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace sentrel::platform {

/// Cumulative counters of a disk since it appeared, in bytes. Each is absent when the disk does not count it.
struct DiskStatistics {
    std::optional<std::int64_t> bytesRead;    ///< since the disk exists
    std::optional<std::int64_t> bytesWritten; ///< since the disk exists
};

/// An entry of the system's device tree.
class SENTREL_API MediaEntry {
public:
    virtual ~MediaEntry() = default;

    /// The first statistics found on this entry or above it; absent if there are none. Cheap enough for each sample;
    /// on Linux it allocates nothing and opens nothing once warm.
    [[nodiscard]] virtual std::optional<DiskStatistics> statistics() = 0;
    /// Whether this very entry carries the property "SMART Capable". False, with errno EACCES or EPERM, if the process
    /// may not ask.
    [[nodiscard]] virtual bool isSmartCapable() = 0;
    /// The entry that this one stands on, or null.
    [[nodiscard]] virtual std::shared_ptr<MediaEntry> parent() = 0;
    /// Null if the drive's driver offers no such conversation, or on failure.
    [[nodiscard]] virtual std::unique_ptr<SmartPlugIn> createSmartPlugIn() = 0;
};

} // namespace sentrel::platform
