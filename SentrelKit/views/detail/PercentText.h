// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sentrel {

/// A percentage rounded to a whole number, halves away from zero, and a percent sign: "42%". "nan%" for what is
/// not a number, "inf%" and "-inf%" for what is not finite. Any thread.
[[nodiscard]] std::string percentText(double percent);

} // namespace sentrel
