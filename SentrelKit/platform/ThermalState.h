#pragma once

#include <SentrelKit/Export.h>

#include <cstdint>

namespace sentrel {

/// How hard the machine is pressed by heat, from no pressure to "needs cooling now".
enum class ThermalState : std::uint8_t { nominal, fair, serious, critical };

} // namespace sentrel
