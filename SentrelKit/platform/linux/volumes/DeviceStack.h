// SPDX-License-Identifier: Apache-2.0
#pragma once

/// How block devices stand on one another: partitions on disks, mapped and RAID devices on partitions, file systems on
/// devices.

#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <set>
#include <string>
#include <vector>

namespace sentrel::platform {

/// The device itself, the disk that it is a part of, and all that these are stacked on, down to the last disks.
[[nodiscard]] std::set<std::string> devicesUnder(const BlockDevices& devices, const std::string& kernelName);

/// The devices behind a mount: one, or every one that a btrfs spreads over; none for file systems without any.
[[nodiscard]] std::vector<std::string> devicesOfMount(const BlockDevices& devices, const MountEntry& mount);

} // namespace sentrel::platform
