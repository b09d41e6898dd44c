// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/linux/FileTree.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace sentrel {

/// All files of a machine among the fixtures: those of host/<name> and those that machines/<name>.tree lists.
class CapturedMachine : public FileTree {
public:
    explicit CapturedMachine(const std::string& name);

    /// Writes a file of several lines.
    void write(std::string_view name, std::string_view content) const { folder().write(name, content); }

    /// Makes a symbolic link.
    void link(std::string_view name, const std::string& target) const { folder().link(name, target); }

    /// Lets a second pass in which one processor worked in programs for 75 hundredths, and all others rested.
    void work(std::uint32_t processor) const;
};

} // namespace sentrel
