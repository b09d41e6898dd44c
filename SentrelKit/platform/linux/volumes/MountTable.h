// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The kernel's mount table as values: the parser of /proc/<pid>/mountinfo (its format: proc(5)) and which of its
/// entries can still be reached by their paths.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sentrel::platform {

/// One line of mountinfo, its texts with the octal escapes undone, and what follows from the whole table.
struct MountEntry {
    std::int64_t id = 0;
    std::int64_t parent = 0;
    std::uint32_t deviceMajor = 0; ///< 0 for file systems without a block device of their own
    std::uint32_t deviceMinor = 0;
    std::string root; ///< the folder of the file system that is seen at the mount point; "/" for all of it
    std::string on;   ///< mount point
    std::string type;
    std::string from;         ///< mount source; may be empty
    std::string superOptions; ///< options of the file system, comma-separated

    /// Whether its mount point leads to it: not so when a later mount covers it or a folder above it. Set by
    /// parseMountTable.
    bool isVisible = false;
    // Set by judgeMounts.
    bool mayNotAnswer = false; ///< whether a question to its mount point may never be answered
    bool isRoot = false;       ///< the root file system
    bool dontBrowse = false;   ///< not meant to be shown
    bool isVolume = false;     ///< shown as a volume
    /// The kernel's name of the block device behind it; empty for file systems without one. Set by Mounts.
    std::string device;
    std::optional<std::string> model; ///< of the disk behind a volume. Set by Mounts.

    friend bool operator==(const MountEntry&, const MountEntry&) = default;
};

/// A field of one of the kernel's tables in plain text: there blank, tab, line feed, backslash and some others are a
/// backslash and three octal digits.
[[nodiscard]] std::string unescaped(std::string_view field);

/// One line without its line end; absent if it is no mountinfo line.
[[nodiscard]] std::optional<MountEntry> parseMountLine(std::string_view line);

/// All lines in their order; lines that do not parse are left out, a missing last line end is not missed.
[[nodiscard]] std::vector<MountEntry> parseMountTable(std::string_view table);

/// For each entry, whether a look-up of its mount point asks one of those mounts for a name. A mount that covers
/// another one at the very same place does not: the look-up goes past what it covers.
[[nodiscard]] std::vector<bool> mountsBelow(const std::vector<MountEntry>& entries, const std::vector<bool>& those);

/// Whether both are one mount at one place. Its path alone does not tell: another file system may have come there
/// since. Neither does its number alone, which the kernel gives again once nobody uses the mount.
[[nodiscard]] bool isSameMount(const MountEntry& one, const MountEntry& other);

/// The visible entry that a path lies in, judged by its text alone; null if none.
[[nodiscard]] const MountEntry* mountOfPath(const std::vector<MountEntry>& entries, std::string_view path);

} // namespace sentrel::platform
