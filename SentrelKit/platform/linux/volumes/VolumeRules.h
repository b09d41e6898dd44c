// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Which mounts count as volumes under Linux. The accepted names of the library stand for these native types:
///
/// | name                    | native types                                                                    |
/// | ----------------------- | ------------------------------------------------------------------------------- |
/// | hfs                     | hfs, hfsplus                                                                    |
/// | apfs, ufs (local disks) | apfs, ext2, ext3, ext4, xfs, btrfs, zfs, f2fs, bcachefs, jfs, nilfs2, reiserfs, ufs |
/// | msdos                   | msdos, vfat                                                                     |
/// | exfat                   | exfat, fuse.exfat                                                               |
/// | ntfs                    | ntfs, ntfs3, fuseblk (the user-space drivers of ntfs and exfat), fuse.ntfs-3g   |
/// | cd9660, cddafs          | iso9660                                                                         |
/// | udf                     | udf                                                                             |
/// | nfs (network shares)    | nfs, nfs4, cifs, smb3, ceph, fuse.glusterfs, fuse.sshfs                         |
///
/// The root file system counts whatever its type (overlay and memory-backed roots included). "Do not browse" are:
/// - mounts that another mount covers;
/// - views of a part of a file system (bind mounts of a folder or a file; a btrfs subvolume is no such view), and
///   further views of one that is already shown: the root comes first, then mount-table order;
/// - mounts at system places: the boot and firmware partitions, package images, container layers and volumes, and
///   everything under /dev, /proc, /sys and /run but /run/media.

#include <SentrelKit/platform/MountedFileSystem.h>
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <string_view>
#include <vector>

namespace sentrel::platform {

/// The native types of the table above, and any root.
[[nodiscard]] AcceptedTypes nativeVolumeTypes() noexcept;

/// True for types whose questions another machine or a user program answers, and which may therefore never answer.
[[nodiscard]] bool mayNotAnswer(std::string_view type) noexcept;

/// Marks the root, what is meant to be shown, and the volumes; and the entries that may not answer: by their own type,
/// or as their mount points are looked up in such a one.
void judgeMounts(std::vector<MountEntry>& entries);

} // namespace sentrel::platform
