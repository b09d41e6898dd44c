// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sentrel {

/// The path of a captured file or folder among the tests' fixtures.
[[nodiscard]] std::string fixturePath(const std::string& name);

} // namespace sentrel
