// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples/simulation/Simulation.h"

#include <optional>
#include <string>

namespace dashboard {

/// What the program does.
enum class Mode {
    choose,   ///< a window where there is a display, else the report
    report,   ///< measures, prints the figures and draws them
    snapshot, ///< measures and draws
    help,
};

struct Options {
    Mode mode = Mode::choose;
    std::optional<simulation::Kind> simulated; ///< absent: the machine itself
    std::optional<double> seconds;             ///< how long to sample, or to show the window
    std::string picture = "dashboard.png";     ///< where the picture goes
    double width = 1000;                       ///< of the picture, points
    double scale = 2;                          ///< pixels a point of the picture
    bool isDark = false;
};

/// How long a picture or a report samples unless it is told.
constexpr double usualSeconds = 4;

/// What --help prints.
extern const char* const usage;

/// The options of a command line; absent, after one line on the standard error stream, if one of them is wrong.
std::optional<Options> parseOptions(int count, char** arguments);

} // namespace dashboard
