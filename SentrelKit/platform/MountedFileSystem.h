// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Mounted file systems as values.

#include <SentrelKit/Export.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace sentrel::platform {

/// The space of one file system, in blocks.
struct FileSystemSpace {
    std::uint64_t blockSize = 0;  ///< bytes
    std::uint64_t blocks = 0;     ///< all blocks
    std::uint64_t freeBlocks = 0; ///< free blocks, also those that only privileged users may fill
    std::uint64_t inodes = 0;     ///< files that there can be; 0 on a file system that does not count them
    std::uint64_t freeInodes = 0; ///< of these
    /// Whether the file system answered when it was last asked; if not, these are figures of before, or zeros.
    bool answers = true;
};

/// One entry of the mount table. A fresh one is empty.
struct MountedFileSystem {
    std::string type;        ///< file-system type name, as the system names it
    std::string from;        ///< what is mounted: a device path, or a share, or any text; may be empty
    std::string on;          ///< mount point, absolute
    FileSystemSpace space;   ///< as last known without waiting; zeros where that is not known
    bool isRoot = false;     ///< the root file system
    bool dontBrowse = false; ///< not meant to be shown to the user
};

/// What of the mount table is shown: its volumes.
struct AcceptedTypes {
    std::span<const std::string_view> names; ///< exact type names
    bool anyRoot = false;                    ///< the root file system counts whatever its type

    /// Whether a mount of that type is a volume.
    [[nodiscard]] bool accept(std::string_view type, bool isRoot, bool dontBrowse) const noexcept {
        return !dontBrowse && ((isRoot && anyRoot) || std::find(names.begin(), names.end(), type) != names.end());
    }
};

} // namespace sentrel::platform
