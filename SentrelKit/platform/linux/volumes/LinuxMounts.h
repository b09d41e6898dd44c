// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The mounts of this process's own namespace and the devices behind them.

#include <SentrelKit/platform/linux/volumes/BlockDevices.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

inline constexpr const char* mountTablePath = "/proc/self/mountinfo";

/// The mount table now, with an entry of type "rootfs" for a root folder that is no mount point; absent, with errno
/// set, if it cannot be read. Waits for no file system.
[[nodiscard]] std::optional<std::vector<MountEntry>> readMountTable(const SystemRoot& root);

/// The kernel's name of the block device behind a mount; absent for file systems without one.
[[nodiscard]] std::optional<std::string> deviceOfMount(const BlockDevices& devices, const MountEntry& mount);

/// What is mounted, as a volume is known by it. Boot loaders mount "/dev/root", which is no device: then it is the
/// node of the device itself.
[[nodiscard]] std::string mountSource(const BlockDevices& devices, const MountEntry& mount);

/// The first visible one of the mounts that is of a block device; null if it is not mounted.
[[nodiscard]] const MountEntry* mountOfDevice(const BlockDevices& devices, const std::vector<MountEntry>& mounts,
                                              const std::string& kernelName);

/// The label that a mounted file system tells itself, empty if it has none; absent if it cannot tell, or if it is one
/// that may not answer. Labels that change while mounted are seen here first, and often nowhere else.
[[nodiscard]] std::optional<std::string> labelOfMount(const SystemRoot& root, const MountEntry& mount);

/// The label of the file system on a device, as udev or the device itself has it; absent, without asking, if it is a
/// loop device whose file lies where nobody may answer.
[[nodiscard]] std::optional<std::string>
labelOfDevice(const BlockDevices& devices, const std::vector<MountEntry>& mounts, const std::string& kernelName);

} // namespace sentrel::platform
