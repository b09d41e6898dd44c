// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/power/PowerReader.h>

namespace sentrel::platform {

PowerFigures PowerReader::read() {
    PowerSupplies supplies = readPowerSupplies(root_);
    if (!supplies.batteries.empty())
        hasBay_.store(true, std::memory_order_relaxed);
    else if (hasBay_.load(std::memory_order_relaxed))
        supplies.batteries.emplace_back().present = false;
    return powerFigures(supplies);
}

} // namespace sentrel::platform
