// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Unmounting and ejecting: by the desktop's storage service where it runs, else by the system calls. Both block.

#include <SentrelKit/platform/StorageDevice.h>
#include <SentrelKit/platform/linux/volumes/DeviceControl.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>
#include <SentrelKit/platform/linux/volumes/UdisksClient.h>

#include <optional>
#include <string>

namespace sentrel::platform {

/// Unmounts what is mounted of a disk (of its partitions and of the devices stacked on it too) or of one partition,
/// the latest mount first, up to the first refusal, which is the result; absent after success. Forced, it goes on past
/// refusals and breaks off requests that a file system waits for; what is in use by open files stays mounted, forced or
/// not. What the running system needs (SystemDisk.h) is refused at once and nothing of it is touched.
[[nodiscard]] std::optional<Dissenter> unmountAll(Mounts& mounts, UdisksClient& service, const std::string& kernelName,
                                                  bool force);

/// Ejects a disk's medium, or lets go of the file behind a loop device. Does nothing to a disk that is in use, by a
/// file system that is mounted anywhere, swap space or a stacked device, nor to a stacked device, which has no medium.
void ejectDisk(const BlockDevices& devices, UdisksClient& service, DeviceControl& control,
               const std::string& kernelName);

} // namespace sentrel::platform
