// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Command.h"

namespace tool {

/// Adds `sentrel serve`.
[[nodiscard]] Command addServe(CLI::App& program);

} // namespace tool
