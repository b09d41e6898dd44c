// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/SystemDisk.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

// A machine with three disks: "sda" in three partitions, "sdb" in two, "sdc" as a whole. Tests say what is mounted.
class SystemDisk : public testing::Test {
protected:
    SystemDisk() {
        disk("sda", "8:0", 3);
        disk("sdb", "8:16", 2);
        disk("sdc", "8:32", 0);
    }

    void disk(const std::string& name, const std::string& number, int parts) {
        add(name, name, number);
        const std::size_t colon = number.find(':') + 1;
        for (int part = 1; part <= parts; ++part) {
            const std::string partName = name + std::to_string(part);
            add(partName, name + '/' + partName,
                number.substr(0, colon) + std::to_string(std::stoi(number.substr(colon)) + part));
            files_.write("/sys/devices/block/" + name + '/' + partName + "/partition", std::to_string(part) + '\n');
        }
    }

    // A mapped device, RAID or the like, on others.
    void stack(const std::string& name, const std::string& number, const std::vector<std::string>& components) {
        add(name, name, number);
        for (const std::string& component : components)
            files_.link("/sys/devices/block/" + name + "/slaves/" + component, "../../" + component);
    }

    void mount(const std::string& number, const std::string& on, const std::string& type = "ext4",
               const std::string& from = "/dev/any", const std::string& options = "rw") {
        mounts_ +=
            std::to_string(++id_) + " 1 " + number + " / " + on + " rw - " + type + ' ' + from + ' ' + options + '\n';
        files_.write("/proc/self/mountinfo", mounts_);
    }
    void mountOnly(const std::string& number, const std::string& on) {
        mounts_.clear();
        mount(number, on);
    }
    void swap(const std::string& lines) {
        files_.write("/proc/swaps", "Filename\t\t\t\tType\t\tSize\t\tUsed\t\tPriority\n" + lines);
    }

    [[nodiscard]] bool runsFrom(const std::string& name) const {
        const BlockDevices devices{SystemRoot(files_.path())};
        Mounts mounts(devices);
        return systemRunsFrom(mounts, name);
    }

    TemporaryFolder files_;

private:
    void add(const std::string& name, const std::string& folder, const std::string& number) {
        files_.write("/sys/devices/block/" + folder + "/dev", number + '\n');
        files_.link("/sys/class/block/" + name, "../../devices/block/" + folder);
        files_.link("/sys/dev/block/" + number, "../../devices/block/" + folder);
    }

    std::string mounts_;
    int id_ = 1;
};

TEST_F(SystemDisk, IsTheOneWithTheRoot) {
    mount("8:1", "/");
    mount("8:2", "/data");
    mount("8:17", "/media/anna/stick");
    EXPECT_TRUE(runsFrom("sda"));
    EXPECT_TRUE(runsFrom("sda1"));
    EXPECT_FALSE(runsFrom("sda2")) << "the partition alone may go";
    EXPECT_FALSE(runsFrom("sdb"));
    EXPECT_FALSE(runsFrom("sdc"));
}

TEST_F(SystemDisk, IsOneWithAPlaceThatTheSystemRunsFrom) {
    for (const char* place : {"/usr", "/usr/local", "/boot", "/boot/efi", "/efi", "/var", "/var/lib/docker/volumes/a",
                              "/etc", "/home", "/root", "/tmp", "/nix/store", "/run/live/medium", "/lib64", "/"}) {
        mountOnly("8:18", place);
        EXPECT_TRUE(runsFrom("sdb")) << place;
    }
    for (const char* place : {"/media/anna/stick", "/run/media/anna/stick", "/mnt", "/data", "/home/anna/stick",
                              "/tmp/stick", "/srv", "/opt", "/variety", "/usrlocal"}) {
        mountOnly("8:18", place);
        EXPECT_FALSE(runsFrom("sdb")) << place;
    }
}

TEST_F(SystemDisk, IsOneWithSwapSpaceInUse) {
    mount("8:1", "/");
    mount("8:33", "/data");
    swap("/dev/sdb2                               partition\t2097148\t\t0\t\t-2\n");
    EXPECT_TRUE(runsFrom("sdb"));
    EXPECT_TRUE(runsFrom("sdb2"));
    EXPECT_FALSE(runsFrom("sdb1"));
    EXPECT_FALSE(runsFrom("sdc"));
    swap("");
    EXPECT_FALSE(runsFrom("sdb"));
}

TEST_F(SystemDisk, IsOneWithASwapFile) {
    mount("8:1", "/");
    mount("8:17", "/media/my\\040stick");
    swap("/media/my\\040stick/swap\\040file            file\t\t2097148\t\t0\t\t-2");
    EXPECT_TRUE(runsFrom("sdb"));
    EXPECT_FALSE(runsFrom("sdc"));
}

TEST_F(SystemDisk, IsUnderEveryDeviceThatTheSystemIsStackedOn) {
    stack("dm-0", "253:0", {"sda3"});         // an encrypted partition
    stack("dm-1", "253:1", {"dm-0"});         // on it a volume group with the root
    stack("dm-2", "253:2", {"dm-0", "sdb1"}); // and with one that spreads further
    stack("md0", "9:0", {"sdb2", "sdc"});
    mount("253:1", "/");
    mount("253:2", "/data");
    mount("9:0", "/archive");
    EXPECT_TRUE(runsFrom("sda"));
    EXPECT_TRUE(runsFrom("sda3"));
    EXPECT_TRUE(runsFrom("dm-1"));
    EXPECT_TRUE(runsFrom("dm-2")) << "it shares a disk with the root";
    EXPECT_FALSE(runsFrom("sda1"));
    EXPECT_FALSE(runsFrom("sdb"));
    EXPECT_FALSE(runsFrom("md0"));

    swap("/dev/md0                                partition\t1\t\t0\t\t-2\n");
    EXPECT_TRUE(runsFrom("sdb"));
    EXPECT_TRUE(runsFrom("sdc"));
}

TEST_F(SystemDisk, IsEveryMemberOfTheRootsFileSystem) {
    mount("0:30", "/", "btrfs", "/dev/sda2", "rw,subvol=/@");
    files_.makeFolder("/sys/fs/btrfs/features");
    for (const char* member : {"sda2", "sdb1"})
        files_.link(std::string("/sys/fs/btrfs/0-1-2/devices/") + member, "../../../../devices/block/any");
    files_.link("/sys/fs/btrfs/3-4-5/devices/sdc", "../../../../devices/block/any");
    EXPECT_TRUE(runsFrom("sda"));
    EXPECT_TRUE(runsFrom("sdb"));
    EXPECT_FALSE(runsFrom("sdc"));
}

// A live system: the root is laid over an image on a stick.
TEST_F(SystemDisk, IsTheMediumOfALiveSystem) {
    stack("loop0", "7:0", {});
    files_.write("/sys/devices/block/loop0/loop/backing_file", "/media/live/filesystem.squashfs\n");
    mount("8:17", "/media/live", "vfat");
    mount("7:0", "/mnt/rootfs", "squashfs", "/dev/loop0");
    mount("0:40", "/", "overlay", "overlay", "rw,lowerdir=/mnt/rootfs:/nowhere,upperdir=/cow/rw,workdir=/cow/work");
    EXPECT_TRUE(runsFrom("loop0"));
    EXPECT_TRUE(runsFrom("sdb"));
    EXPECT_FALSE(runsFrom("sda"));
}

TEST_F(SystemDisk, IsNotAnImageThatLiesOnIt) {
    stack("loop0", "7:0", {});
    files_.write("/sys/devices/block/loop0/loop/backing_file", "/home/anna/image\n");
    mount("8:1", "/");
    mount("7:0", "/media/image");
    EXPECT_TRUE(runsFrom("sda"));
    EXPECT_FALSE(runsFrom("loop0"));
}

// A confined program sees its own root, and of the machine what it was given.
TEST_F(SystemDisk, IsTheOneThatTheFirstProcessRunsFrom) {
    mount("0:50", "/", "tmpfs", "tmpfs");
    mount("8:2", "/data");
    EXPECT_FALSE(runsFrom("sda"));
    files_.write("/proc/1/mountinfo",
                 "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n21 20 8:2 / /data rw - ext4 /dev/sda2 rw\n");
    EXPECT_TRUE(runsFrom("sda"));
    EXPECT_FALSE(runsFrom("sdb"));
}

TEST_F(SystemDisk, IsAnyWhileTheMountsCannotBeRead) {
    EXPECT_TRUE(runsFrom("sdc"));
}

} // namespace
} // namespace sentrel::platform
