// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Figures.h"

#include <SentrelKit/system/Applications.h>

#include <cstddef>
#include <set>
#include <string>

namespace tool {

/// How much of the applications is told.
struct ApplicationLimits {
    std::size_t top = 10;    ///< so many that use the processor most, and so many that hold the most memory
    std::size_t names = 100; ///< so many different ones for as long as the program runs; all others are "other"
};

/// The applications as the exporter tells them: by name, all processes of one name together, since each series costs
/// the engine memory for as long as it keeps what it stored. One thread at a time.
class ApplicationTable {
public:
    /// What the table may hold.
    [[nodiscard]] static TableInfo info();

    explicit ApplicationTable(const ApplicationLimits& limits) : limits_(limits) {}

    /// Those that use the most, as of the last sample.
    [[nodiscard]] Table read(const sentrel::Applications& apps);

private:
    const ApplicationLimits limits_;
    std::set<std::string> names_; // that were told
};

} // namespace tool
