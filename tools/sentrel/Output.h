// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Selection.h"

#include <string>

namespace tool {

/// One sample as one JSON object without line ends (docs/schema.json): "time" in seconds since the epoch, an object a
/// resource, its lists in it. Texts that are no UTF-8 have the replacement character; figures that are no number are
/// absent.
[[nodiscard]] std::string jsonLine(sentrel::System& system, const Selection& selection, double time);

/// The JSON schema of such a line.
[[nodiscard]] std::string schema();

/// The name of each figure and what it is, a line each.
[[nodiscard]] std::string fieldList();

/// One sample for people: a block a resource, a line a figure, in units that read well. Nothing that comes from
/// elsewhere reaches the terminal as anything but text.
[[nodiscard]] std::string readableText(sentrel::System& system, const Selection& selection);

/// A figure in units that read well: "12.3 %", "3.50 GB", "1 hours, 2 minutes, 3 seconds".
[[nodiscard]] std::string readableValue(const Figure& figure);

} // namespace tool
