// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace dashboard {

struct Options {
    double seconds = 4;                   ///< how long to sample
    std::string output = "dashboard.png"; ///< where the picture goes
    bool help = false;
};

/// What --help prints.
extern const char* const usage;

/// The options of a command line; absent, after one line on the standard error stream, if one of them is wrong.
std::optional<Options> parseOptions(int count, char** arguments);

} // namespace dashboard
