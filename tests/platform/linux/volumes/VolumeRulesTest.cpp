// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/VolumeRules.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

std::vector<MountEntry> judged(const std::string& table) {
    std::vector<MountEntry> entries = parseMountTable(table);
    judgeMounts(entries);
    return entries;
}

// The mount points that may be shown, the root marked with an asterisk.
std::vector<std::string> shown(const std::string& table) {
    std::vector<std::string> paths;
    for (const MountEntry& entry : judged(table)) {
        if (!entry.dontBrowse)
            paths.push_back((entry.isRoot ? "*" : "") + entry.on);
    }
    return paths;
}

const std::string root = "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n";

TEST(VolumeRules, KnowTheTypesThatMayNeverAnswer) {
    for (const char* type :
         {"nfs", "nfs4", "cifs", "smb3", "ceph", "9p", "afs", "virtiofs", "fuse", "fuseblk", "fuse.sshfs"})
        EXPECT_TRUE(mayNotAnswer(type)) << type;
    for (const char* type : {"ext4", "xfs", "btrfs", "vfat", "overlay", "fusectl", "autofs"})
        EXPECT_FALSE(mayNotAnswer(type)) << type;
}

// The mount points that may not answer.
std::vector<std::string> doubtful(const std::string& table) {
    std::vector<MountEntry> entries = parseMountTable(table);
    judgeMounts(entries);
    std::vector<std::string> paths;
    for (const MountEntry& entry : entries) {
        if (entry.mayNotAnswer)
            paths.push_back(entry.on);
    }
    return paths;
}

// Only a mount's own type was looked at.
TEST(VolumeRules, DoubtWhateverIsLookedUpInAMountThatMayNotAnswer) {
    EXPECT_THAT(doubtful(root + "2 1 0:60 / /n rw - nfs4 server:/a rw\n"
                                "3 2 8:2 / /n/disk rw - ext4 /dev/sda2 rw\n"
                                "4 3 8:3 / /n/disk/deep rw - xfs /dev/sda3 rw\n"
                                "5 1 8:4 / /nn rw - ext4 /dev/sda4 rw\n"),
                testing::ElementsAre("/n", "/n/disk", "/n/disk/deep"));
    EXPECT_THAT(doubtful("3 2 8:2 / /f/a/b rw - ext4 /dev/sda2 rw\n" // in any order
                         "2 1 0:60 / /f rw - fuse.sshfs host: rw\n" +
                         root),
                testing::ElementsAre("/f/a/b", "/f"));
    EXPECT_THAT(doubtful("1 0 0:60 / / rw - nfs4 server:/root rw\n2 1 8:2 / /disk rw - ext4 /dev/sda2 rw\n"),
                testing::ElementsAre("/", "/disk"));
}

TEST(VolumeRules, DoNotDoubtAMountForWhatItCovers) {
    EXPECT_THAT(doubtful(root + "2 1 0:60 / /n rw - nfs4 server:/a rw\n"
                                "3 2 8:2 / /n rw - ext4 /dev/sda2 rw\n"
                                "4 3 8:3 / /n/disk rw - ext4 /dev/sda3 rw\n"),
                testing::ElementsAre("/n"));
    EXPECT_THAT(doubtful(root + "2 1 0:60 / /n rw - nfs4 server:/a rw\n"
                                "3 2 0:61 / /n/f rw - fuse.sshfs host: rw\n"
                                "4 3 8:3 / /n/f rw - ext4 /dev/sda3 rw\n"),
                testing::ElementsAre("/n", "/n/f", "/n/f"));
}

TEST(VolumeRules, ComeToAnEndOnRingsAndStacksOfMounts) {
    EXPECT_TRUE(doubtful("1 2 8:1 / /a rw - ext4 a rw\n2 1 8:2 / /b rw - ext4 b rw\n").empty());
    std::string table = root;
    for (int i = 2; i < 20000; ++i)
        table += std::to_string(i) + ' ' + std::to_string(i - 1) + " 0:50 / /m rw - tmpfs t rw\n";
    EXPECT_TRUE(doubtful(table).empty());
}

TEST(VolumeRules, AcceptLocalDisksAndSharesButNoSystemFileSystems) {
    const auto accepts = [](const char* type) { return nativeVolumeTypes().accept(type, false, false); };
    for (const char* type : {"ext2", "ext3", "ext4", "xfs", "btrfs", "zfs", "f2fs", "vfat", "exfat", "ntfs", "ntfs3",
                             "iso9660", "udf", "nfs", "nfs4", "hfsplus", "fuseblk"})
        EXPECT_TRUE(accepts(type)) << type;
    for (const char* type : {"tmpfs", "proc", "sysfs", "overlay", "squashfs", "autofs", "devtmpfs", "cgroup2", "fuse",
                             "fuse.portal", "ramfs", "erofs"})
        EXPECT_FALSE(accepts(type)) << type;
}

TEST(VolumeRules, CallTheMountOfTheTopFolderTheRootWhateverItsType) {
    EXPECT_THAT(shown("1 0 0:50 / / rw - overlay overlay rw,lowerdir=/l\n"), testing::ElementsAre("*/"));
    EXPECT_THAT(shown("1 0 253:0 / / rw - ext4 /dev/zram0 rw\n"), testing::ElementsAre("*/"));
    EXPECT_THAT(shown("1 0 8:1 /containers/7/root / rw - ext4 /dev/sda1 rw\n"), testing::ElementsAre("*/"));
}

TEST(VolumeRules, HideSystemPlaces) {
    for (const char* place : {"/boot", "/boot/efi", "/efi", "/snap/core/1", "/var/lib/docker/overlay2/x/merged",
                              "/var/lib/containers/storage", "/run/user/1000", "/dev/x", "/sys/x", "/proc/x",
                              "/home/u/.local/share/containers/storage"})
        EXPECT_THAT(shown(root + "2 1 8:2 / " + place + " rw - ext4 /dev/sda2 rw\n"), testing::ElementsAre("*/"))
            << place;
    for (const char* place :
         {"/home", "/bootcamp", "/mnt/boot", "/run/media/u/STICK", "/media/u/CARD", "/snapshots", "/var"})
        EXPECT_THAT(shown(root + "2 1 8:2 / " + place + " rw - ext4 /dev/sda2 rw\n"),
                    testing::ElementsAre("*/", place));
}

TEST(VolumeRules, HideBindMountsOfFoldersAndFiles) {
    EXPECT_THAT(shown(root + "2 1 8:2 / /data rw - ext4 /dev/sda2 rw\n"
                             "3 1 8:2 /shared /srv rw - ext4 /dev/sda2 rw\n"
                             "4 1 8:1 /etc/hosts /x/hosts rw - ext4 /dev/sda1 rw\n"
                             "5 1 8:3 /resolv.conf /x/resolv.conf rw - xfs /dev/sdb1 rw\n"),
                testing::ElementsAre("*/", "/data"));
}

TEST(VolumeRules, ShowAFileSystemOnceTheRootBeforeAll) {
    EXPECT_THAT(shown("2 1 8:1 / /mnt/again rw - ext4 /dev/sda1 rw\n" + root +
                      "3 1 8:2 / /a rw - ext4 /dev/sda2 rw\n"
                      "4 1 8:2 / /b rw - ext4 /dev/sda2 rw\n"),
                testing::ElementsAre("*/", "/a"));
}

TEST(VolumeRules, ShowABtrfsOnceThoughItsSubvolumesAreMountedApart) {
    EXPECT_THAT(shown("1 0 0:31 /@ / rw - btrfs /dev/sda2 rw,subvolid=256,subvol=/@\n"
                      "2 1 0:31 /@home /home rw - btrfs /dev/sda2 rw,subvolid=257,subvol=/@home\n"),
                testing::ElementsAre("*/"));
    EXPECT_THAT(shown(root + "2 1 0:31 /@data/folder /x rw - btrfs /dev/sdb1 rw,subvolid=9,subvol=/@data\n"
                             "3 1 0:31 /@data /data rw - btrfs /dev/sdb1 rw,subvolid=9,subvol=/@data\n"
                             "4 1 0:31 /@more /more rw - btrfs /dev/sdb1 rw,subvolid=10,subvol=/@more\n"),
                testing::ElementsAre("*/", "/data"));
}

TEST(VolumeRules, TellSharesOfOneServerApart) {
    EXPECT_THAT(shown(root + "2 1 0:60 / /n/a rw - nfs4 server:/a rw\n"
                             "3 1 0:60 /b /n/b rw - nfs4 server:/b rw\n"
                             "4 1 0:60 / /n/again rw - nfs4 server:/a rw\n"),
                testing::ElementsAre("*/", "/n/a", "/n/b"));
}

TEST(VolumeRules, HideCoveredMounts) {
    EXPECT_THAT(shown(root + "2 1 8:2 / /mnt rw - ext4 /dev/sda2 rw\n"
                             "3 2 8:3 / /mnt rw - ext4 /dev/sda3 rw\n"),
                testing::ElementsAre("*/", "/mnt"));
    EXPECT_TRUE(judged(root + "2 1 8:2 / /mnt rw - ext4 /dev/sda2 rw\n"
                              "3 2 8:3 / /mnt rw - ext4 /dev/sda3 rw\n")[1]
                    .dontBrowse);
}

} // namespace
} // namespace sentrel::platform
