// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/system/System.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Texts and orders that the report and the picture share.
namespace dashboard {

std::string percentText(double percent);
std::string thermalStateName(sentrel::ThermalState state);
/// "3 d 4 h 12 min", "12 min 5 s".
std::string durationText(std::int64_t seconds);
std::string swapText(const sentrel::Memory& memory);
std::string graphicsText(const sentrel::GPU& gpu);

/// The volumes as a person looks for them: the root volume first, then by mount point.
std::vector<std::shared_ptr<sentrel::Disk::Volume>> sortedVolumes(const sentrel::Disk& disk);
std::string spaceText(const sentrel::Disk::Volume& volume);
std::string ratesText(const sentrel::Disk::Volume& volume);

std::string connectionName(const sentrel::Network& network);
std::string ratesText(const sentrel::Network::Interface& interface);
std::string peaksText(const sentrel::Network::Interface& interface);

/// Whether there is a battery in the machine.
bool showsBattery(const sentrel::Battery& battery);

/// "no battery", or the charge and what happens to it.
std::string batteryText(const sentrel::Battery& battery);

} // namespace dashboard
