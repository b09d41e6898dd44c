// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <SentrelKit/platform/linux/common/KernelText.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <utility>

namespace sentrel::platform {

namespace {

constexpr auto volumeTypes = std::to_array<std::string_view>(
    {"hfs",  "hfsplus",  "apfs",    "ext2",           "ext3",         "ext4",    "xfs",   "btrfs", "zfs",
     "f2fs", "bcachefs", "jfs",     "nilfs2",         "reiserfs",     "ufs",     "msdos", "vfat",  "exfat",
     "ntfs", "ntfs3",    "fuseblk", "fuse.exfat",     "fuse.ntfs-3g", "iso9660", "udf",   "nfs",   "nfs4",
     "cifs", "smb3",     "ceph",    "fuse.glusterfs", "fuse.sshfs"});

constexpr auto networkTypes =
    std::to_array<std::string_view>({"nfs", "nfs4", "cifs", "smb3", "smbfs", "ceph", "afs", "9p", "lustre", "virtiofs",
                                     "vboxsf", "orangefs", "coda", "beegfs", "gpfs"});

constexpr auto systemPlaces =
    std::to_array<std::string_view>({"/boot", "/efi", "/esp", "/snap", "/var/snap", "/var/lib/snapd", "/var/lib/docker",
                                     "/var/lib/containers", "/var/lib/containerd", "/var/lib/kubelet", "/var/lib/lxc",
                                     "/var/lib/lxd", "/nix/store", "/proc", "/sys", "/dev", "/run", "/var/run"});

bool isUserSpace(std::string_view type) {
    return type == "fuse" || type == "fuseblk" || type.starts_with("fuse.");
}

bool isSystemPlace(std::string_view path) {
    if (liesWithin(path, "/run/media"))
        return false;
    if (path.find("/.local/share/containers/") != std::string_view::npos)
        return true;
    return std::any_of(systemPlaces.begin(), systemPlaces.end(),
                       [&](std::string_view place) { return liesWithin(path, place); });
}

// The subvolume is the last option that btrfs tells, so commas in its name do no harm.
std::string_view subvolume(std::string_view superOptions) {
    constexpr std::string_view key = "subvol=";
    for (std::size_t at = superOptions.find(key); at != std::string_view::npos; at = superOptions.find(key, at + 1)) {
        if (at == 0 || superOptions[at - 1] == ',')
            return superOptions.substr(at + key.size());
    }
    return {};
}

bool isWholeView(const MountEntry& entry) {
    if (entry.root == "/" || mayNotAnswer(entry.type))
        return true;
    return entry.type == "btrfs" && entry.root == subvolume(entry.superOptions);
}

// What makes two mounts the same file system: the device number, or the share for those that have none of their own.
std::string identity(const MountEntry& entry) {
    if (entry.deviceMajor == 0 && mayNotAnswer(entry.type))
        return entry.from;
    return std::to_string(entry.deviceMajor) + ':' + std::to_string(entry.deviceMinor);
}

void markWhatMayNotAnswer(std::vector<MountEntry>& entries) {
    std::vector<bool> doubtful(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        doubtful[i] = mayNotAnswer(entries[i].type);
    const std::vector<bool> below = mountsBelow(entries, doubtful);
    for (std::size_t i = 0; i < entries.size(); ++i)
        entries[i].mayNotAnswer = doubtful[i] || below[i];
}

} // namespace

AcceptedTypes nativeVolumeTypes() noexcept {
    return {volumeTypes, true};
}

bool mayNotAnswer(std::string_view type) noexcept {
    return isUserSpace(type) || std::find(networkTypes.begin(), networkTypes.end(), type) != networkTypes.end();
}

void judgeMounts(std::vector<MountEntry>& entries) {
    markWhatMayNotAnswer(entries);
    std::set<std::string> shown;
    for (MountEntry& entry : entries) {
        entry.isRoot = entry.isVisible && entry.on == "/";
        if (entry.isRoot)
            shown.insert(identity(entry));
    }
    const AcceptedTypes types = nativeVolumeTypes();
    for (MountEntry& entry : entries) {
        entry.dontBrowse = !entry.isRoot && (!entry.isVisible || !isWholeView(entry) || isSystemPlace(entry.on) ||
                                             !shown.insert(identity(entry)).second);
        entry.isVolume = types.accept(entry.type, entry.isRoot, entry.dontBrowse);
    }
}

} // namespace sentrel::platform
