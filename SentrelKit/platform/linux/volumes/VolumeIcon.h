// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <optional>
#include <string>

namespace sentrel::platform {

/// The name (of those that freedesktop gives icons) of what a mount lies on: an optical drive, a flash card, a
/// removable drive, a hard disk, or another machine's folder. Absent for a mount that lies on none of them.
[[nodiscard]] std::optional<std::string> volumeIcon(const BlockDevices& devices, const MountEntry& mount);

} // namespace sentrel::platform
