// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What is told of mounts, unmounts and new names.

#include <SentrelKit/Export.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace sentrel::platform {

/// Something that happened to the volumes. A field is absent where the system does not tell it.
struct VolumeNotification {
    /// What happened.
    enum class Kind : std::uint8_t {
        didMount,   ///< a volume was mounted
        didUnmount, ///< a volume was unmounted
        didRename,  ///< a volume has another name
    };

    Kind kind = Kind::didMount;         ///< what it was
    std::optional<std::string> oldName; ///< didRename: the name before
    std::optional<std::string> newName; ///< didRename: the name now
    std::optional<std::string> path;    ///< the mount point (now)
};

/// Writes its name as it stands here.
SENTREL_API std::ostream& operator<<(std::ostream& stream, VolumeNotification::Kind value);

} // namespace sentrel::platform
