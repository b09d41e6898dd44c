#pragma once

/// The mounts of this process's own namespace and the devices behind them.

#include <SentrelKit/platform/linux/BlockDevices.h>
#include <SentrelKit/platform/linux/MountTable.h>

#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

inline constexpr const char* mountTablePath = "/proc/self/mountinfo";

/// The mount table now; absent, with errno set, if it cannot be read.
[[nodiscard]] std::optional<std::vector<MountEntry>> readMountTable(const SystemRoot& root);

/// The kernel's name of the block device behind a mount; absent for file systems without one.
[[nodiscard]] std::optional<std::string> deviceOfMount(const BlockDevices& devices, const MountEntry& mount);

/// What is mounted, as a volume is known by it. Boot loaders mount "/dev/root", which is no device: then it is the
/// node of the device itself.
[[nodiscard]] std::string mountSource(const BlockDevices& devices, const MountEntry& mount);

} // namespace sentrel::platform
