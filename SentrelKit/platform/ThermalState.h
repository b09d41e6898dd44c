// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>

namespace sentrel {

/// How hard the machine is pressed by heat, from no pressure to "needs cooling now".
enum class ThermalState : std::uint8_t {
    nominal,  ///< no pressure
    fair,     ///< a little
    serious,  ///< much: the machine may slow down
    critical, ///< needs cooling now
};
/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, ThermalState value);

} // namespace sentrel
