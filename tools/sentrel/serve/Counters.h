// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Counters that an engine makes rates of, beyond those among the figures that people are shown: time by mode, waiting,
/// operations, packets. Told while the model's group of further facts is sampled.

#include "tools/sentrel/Figures.h"
#include "tools/sentrel/serve/RisingCounters.h"

#include <SentrelKit/system/System.h>

#include <string_view>
#include <vector>

namespace tool {

/// All tables of them.
[[nodiscard]] std::vector<TableInfo> counterInfos();

/// Those of a resource as of its last sample. Empty for a resource without any.
[[nodiscard]] std::vector<Table> readCounters(sentrel::System& system, std::string_view resource);

/// How a counter may fall, be it one of these or another figure.
[[nodiscard]] RisingCounters::Habits habitsOf(const FigureInfo& figure);

} // namespace tool
