// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The figures that a machine is asked for only when somebody wants them: those of the models' groups of further facts,
/// of the sensors and of the host, and those that take a question of their own.

#include "tools/sentrel/Figures.h"

#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace tool {

/// Figures that are sampled together. Several may belong to one list, also to one that is always shown: items with the
/// same labels are the same thing.
struct FurtherTable {
    TableInfo info;                        ///< with names that no other table of the list has
    void (*want)(sentrel::System& system); ///< has them sampled from the next sample on
    /// As they stand, or asked now; in labels and figures as `info` says.
    std::function<Table(const sentrel::System& system)> read;
};

/// All of them, in the order in which they are shown.
[[nodiscard]] const std::vector<FurtherTable>& furtherTables();

/// The resources that have no other figures: shown when they are named.
[[nodiscard]] std::span<const std::string_view> furtherResources();

/// Every table that there is: those that are always sampled, then these.
[[nodiscard]] std::vector<TableInfo> allTableInfos();

} // namespace tool
