// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/dashboard/Settings.h"

#include <SentrelKit/system/System.h>

#include <optional>
#include <string>

/// The window, in the toolkit that the program was built with, or in none: each folder of window/ has its own.
namespace dashboard {

/// Opens the display. If there can be no window, the reason, in words that go on after "no window:".
std::optional<std::string> openDisplay();

/// Shows the window until it is closed or the seconds are over, and returns the program's exit status. The display was
/// opened.
int showWindow(sentrel::System& system, Settings& settings, std::optional<double> seconds);

} // namespace dashboard
