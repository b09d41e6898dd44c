#pragma once

#include <SentrelKit/system/System.h>

#include <string>

namespace dashboard {

/// Texts that the report and the picture share.
std::string thermalStateName(sentrel::ThermalState state);
std::string swapText(const sentrel::Memory& memory);
std::string graphicsText(const sentrel::GPU& gpu);

} // namespace dashboard
