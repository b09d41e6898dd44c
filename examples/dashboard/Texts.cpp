#include "Texts.h"

#include <SentrelKit/system/Formatting.h>

namespace dashboard {

using namespace sentrel;

std::string thermalStateName(ThermalState state) {
    switch (state) {
    case ThermalState::nominal:
        return "nominal";
    case ThermalState::fair:
        return "fair";
    case ThermalState::serious:
        return "serious";
    case ThermalState::critical:
        return "critical";
    }
    return "unknown";
}

std::string swapText(const Memory& memory) {
    const auto swap = memory.swap();
    return swap.total == 0 ? "none" : byteStr(swap.used) + " of " + byteStr(swap.total);
}

std::string graphicsText(const GPU& gpu) {
    return gpu.current() ? gpu.name() : "no active graphics processor";
}

} // namespace dashboard
