#pragma once

/// Unmounting and ejecting: by the desktop's storage service where it runs, else by the system calls. Both block.

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/BlockDevices.h>
#include <SentrelKit/platform/linux/DeviceControl.h>

#include <optional>
#include <string>

namespace sentrel::platform {

/// Unmounts what is mounted of a disk (of its partitions and of the devices stacked on it too) or of one partition,
/// the latest mount first, up to the first refusal. What the running system needs (SystemDisk.h) is refused at once,
/// forced or not, and nothing of it is touched. Forced, a file system that is in use goes as soon as it is free
/// and is out of sight at once. Absent after success.
[[nodiscard]] std::optional<Dissenter> unmountAll(const BlockDevices& devices, const std::string& kernelName,
                                                  bool force);

/// Ejects a disk's medium, or lets go of the file behind a loop device.
void ejectDisk(DeviceControl& control, const std::string& kernelName);

} // namespace sentrel::platform
