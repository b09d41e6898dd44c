// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace sentrel {

/// A percentage rounded to a whole number, halves away from zero, and a percent sign: "42%". "nan%" for what is
/// not a number, "inf%" and "-inf%" for what is not finite. Any thread.
[[nodiscard]] std::string percentText(double percent);

/// A percentage held between 0 and 100; absent for what is not a number. Any thread.
[[nodiscard]] std::optional<double> percentLevel(double percent) noexcept;

} // namespace sentrel
