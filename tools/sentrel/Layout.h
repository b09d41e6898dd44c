// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/sentrel/Glance.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

/// What a part of a line is, for its colour.
enum class Tone : std::uint8_t {
    plain,  ///< figures and names
    strong, ///< what is to be seen first
    faint,  ///< what explains
    accent, ///< histories
    good,   ///< there is much left
    warn,   ///< there is little left
    bad,    ///< there is next to nothing left
};

/// A part of a line: UTF-8 without control characters.
struct Span {
    std::string text; ///< may be empty
    Tone tone;        ///< of all of it
};

/// A line of the screen.
using Line = std::vector<Span>;

/// What applications are ordered by.
enum class Order : std::uint8_t {
    processor, ///< the busiest first
    memory,    ///< the largest first
    name,      ///< by the alphabet
};

/// How a machine is to be shown.
struct View {
    std::size_t columns = 80;       ///< of the terminal
    std::size_t rows = 24;          ///< of the terminal
    Order order = Order::processor; ///< of the applications
    bool isHelp = false;            ///< the keys instead
    bool isUnicode = true;          ///< else ASCII alone
};

/// The lines of the screen: at most as many as it has rows, none wider than its columns. What matters most is there
/// first where there is little room; what there is room for grows: applications, volumes, histories. Depends on its
/// arguments alone.
[[nodiscard]] std::vector<Line> layOut(const Glance& glance, const View& view);

} // namespace tool
