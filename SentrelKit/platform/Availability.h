// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>

namespace sentrel {

/// Whether a fact could be had, and if not, why.
enum class Availability : std::uint8_t {
    available,   ///< it was read
    unsupported, ///< this machine, or this system, does not have it
    denied,      ///< the process may not read it
    failed,      ///< it is there, and reading it failed
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, Availability value);

namespace platform {

/// What an errno of a failed reading says: `denied` for EACCES and EPERM; `unsupported` where there is nothing of the
/// kind (ENOENT, ENODEV, ENXIO, ENOSYS, ENOTSUP, EOPNOTSUPP); else `failed`. Any thread.
[[nodiscard]] SENTREL_API Availability availabilityOf(int error) noexcept;

} // namespace platform
} // namespace sentrel
