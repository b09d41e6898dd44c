// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <SentrelKit/platform/Icon.h>
#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <optional>

namespace sentrel::platform {

/// The icon (by one of freedesktop's names) of what a mount lies on: an optical drive, a flash card, a
/// removable drive, a hard disk, or another machine's folder. Absent for a mount that lies on none of them.
[[nodiscard]] std::optional<Icon> volumeIcon(const BlockDevices& devices, const MountEntry& mount);

} // namespace sentrel::platform
