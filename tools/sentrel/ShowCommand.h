// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Command.h"

namespace tool {

/// Adds `sentrel show`.
[[nodiscard]] Command addShow(CLI::App& program);

} // namespace tool
