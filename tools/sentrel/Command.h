// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace tool {

/// A subcommand: how it is called, and what it does. Each has a function that adds it to the program, with its options.
struct Command {
    CLI::App* options;        ///< the program's, which tells whether it was called
    std::function<int()> run; ///< once the options are read; the exit status
};

/// The exit status of a program that was called in a way that it does not know.
constexpr int badUsage = 2;

} // namespace tool
