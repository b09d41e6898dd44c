// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/macos/network/Radios.h>

#include "tests/darwin/doubles/Failures.h"
#include "tests/darwin/doubles/Machine.h"

namespace sentrel::platform {

std::optional<std::vector<Radio>> radios() {
    if (darwin::failures::due("CWWiFiClient"))
        return std::nullopt;
    return darwin::machine().radios;
}

} // namespace sentrel::platform
