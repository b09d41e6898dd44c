// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/serve/Configuration.h"

namespace tool {

/// Samples this machine and answers engines until a signal ends it (SIGINT, SIGTERM). The exit status: 0, or 1 with a
/// line on the standard error stream if it cannot.
[[nodiscard]] int serve(const Configuration& configuration);

} // namespace tool
