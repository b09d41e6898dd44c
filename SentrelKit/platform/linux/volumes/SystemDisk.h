// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which disks the running system stands on and cannot do without. That is where one of these lies:
/// - the root file system;
/// - a mount at or below /bin, /boot, /dev, /efi, /esp, /etc, /gnu, /lib, /lib32, /lib64, /libx32, /nix, /ostree,
///   /proc, /run (/run/media is the users'), /sbin, /sys, /sysroot, /usr, /var; at /home, /root or /tmp itself (what is
///   mounted below those is the users');
/// - swap space in use, a device or a file;
/// - an image on a loop device, or a layer of an overlay, that one of these is made of (live systems).
/// It lies on all the devices that it is stacked on: mapped ones, RAID, every member of a btrfs. The mounts of process
/// 1 count as much as this process's own, which may be confined to a part of the machine.

#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>

#include <string>

namespace sentrel::platform {

/// True if something that the system runs from lies on the device, or on anything that the device is stacked on: the
/// sibling of the root volume in one volume group counts. True, too, if the mount table cannot be read.
[[nodiscard]] bool systemRunsFrom(Mounts& mounts, const std::string& kernelName);

} // namespace sentrel::platform
