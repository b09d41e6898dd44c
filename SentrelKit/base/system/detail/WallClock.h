// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// The one source of wall-clock time. Every time stamp of the library comes from here, so that a machine with a virtual
/// clock reaches everything that reads the time.

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

/// One reading of the wall clock since the epoch.
struct WallClockReading {
    std::int64_t seconds = 0;      ///< since 1 January 1970 UTC
    std::int32_t microseconds = 0; ///< 0 to 999999
};

/// A wall clock. Implementations answer from any thread.
class SENTREL_API WallClock {
public:
    virtual ~WallClock() = default;

    /// Reads the clock. Returns false, with errno set and the reading untouched, if it cannot be read.
    [[nodiscard]] virtual bool read(WallClockReading& reading) noexcept = 0;

    /// The clock in force: the system's own until another is set. Any thread.
    [[nodiscard]] static WallClock& current() noexcept;

    /// Reads the system's own clock, as `read` does.
    [[nodiscard]] static bool readSystem(WallClockReading& reading) noexcept;

    /// Puts a clock in force, or the system's own again for null. The clock is not owned and must outlive its use.
    static void setCurrent(WallClock* clock) noexcept;
};

} // namespace sentrel
