// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Selection.h"

#include <chrono>
#include <optional>
#include <string>

namespace tool {

/// What `sentrel show` is asked for.
struct ShowOptions {
    Selection selection;                                     ///< of the figures
    bool json = false;                                       ///< a JSON object a line instead of text
    std::optional<std::chrono::duration<double>> watch = {}; ///< again at each such interval, until it is ended
};

/// Samples and prints; rates are over the last interval, of 1.1 seconds for the first. The exit status: 0, or 1 if the
/// output cannot be written.
[[nodiscard]] int show(const ShowOptions& options);

/// Writes a text to the standard output, without what is not ASCII where that is a terminal of a locale without UTF-8.
/// The exit status: 0, or 1 with the reason on the standard error stream.
[[nodiscard]] int print(const std::string& text);

} // namespace tool
