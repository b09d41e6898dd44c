// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/host/ProcessInformation.h>

#include "tests/darwin/doubles/Machine.h"

namespace sentrel::platform::ProcessInformation {

std::uint64_t physicalMemory() noexcept {
    return darwin::machine().physicalMemory;
}

double systemUptime() noexcept {
    return darwin::machine().uptime;
}

long thermalState() noexcept {
    return darwin::machine().thermalState;
}

} // namespace sentrel::platform::ProcessInformation
