// SPDX-License-Identifier: Apache-2.0
// The mounts of a process as its namespace, its root folder and they themselves change.

#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/MountNamespace.h"

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/volumes/LinuxMounts.h>
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>
#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

class LiveMounts : public testing::Test {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
    }
};

bool listsItsRootOnce() {
    LinuxDispatch dispatch;
    LinuxVolumeService service{SystemRoot(), dispatch};
    std::vector<MountedFileSystem> entries(static_cast<std::size_t>(std::max(service.countMountedFileSystems(), 0)));
    if (service.listMountedFileSystems(entries) != static_cast<std::int32_t>(entries.size()))
        return false;
    const auto isRoot = [](const MountedFileSystem& entry) { return entry.isRoot; };
    const auto root = std::find_if(entries.begin(), entries.end(), isRoot);
    struct statfs status {};
    return std::count_if(entries.begin(), entries.end(), isRoot) == 1 && root->on == "/" && root->type == "rootfs" &&
           root->from.starts_with("/dev/") && !root->dontBrowse && ::statfs("/", &status) == 0 &&
           root->space.blocks == status.f_blocks;
}

// Whether a check holds in a child of this process.
bool holdsInChild(const std::function<bool()>& check) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(check() ? 0 : 1);
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

bool contain(const MountSnapshot& mounts, const std::string& path) {
    return mounts &&
           std::any_of(mounts->begin(), mounts->end(), [&](const MountEntry& entry) { return entry.on == path; });
}

// A folder to mount memory on.
class MountPoint {
public:
    MountPoint() { folder_.makeFolder("point"); }
    ~MountPoint() { ::umount2(path().c_str(), MNT_DETACH); }
    MountPoint(const MountPoint&) = delete;
    MountPoint& operator=(const MountPoint&) = delete;

    [[nodiscard]] std::string path() const { return folder_.path("point"); }
    [[nodiscard]] bool mount() const { return ::mount("none", path().c_str(), "tmpfs", 0, nullptr) == 0; }

private:
    TemporaryFolder folder_;
};

// Each question read the whole table.
TEST_F(LiveMounts, AreReadOnceForEachStateOfTheTable) {
    const BlockDevices devices{SystemRoot()};
    Mounts mounts(devices);
    const MountPoint point;
    const MountSnapshot before = mounts.current();
    ASSERT_TRUE(before);
    EXPECT_EQ(mounts.current(), before);
    ASSERT_TRUE(point.mount());
    EXPECT_EQ(mounts.latest(), before);
    const MountSnapshot after = mounts.current();
    EXPECT_FALSE(contain(before, point.path()));
    EXPECT_TRUE(contain(after, point.path()));
    EXPECT_EQ(mounts.current(), after);
    ASSERT_EQ(::umount(point.path().c_str()), 0);
    EXPECT_FALSE(contain(mounts.current(), point.path()));
}

// The descriptor of a parent and that of its child share what was told.
TEST_F(LiveMounts, OfAParentAreNotMissedBecauseAChildAskedFirst) {
    const BlockDevices devices{SystemRoot()};
    Mounts mounts(devices);
    const MountPoint point;
    static_cast<void>(mounts.current());
    ASSERT_TRUE(point.mount());
    EXPECT_TRUE(holdsInChild([&] { return contain(mounts.current(), point.path()); }));
    EXPECT_TRUE(contain(mounts.current(), point.path()));
}

TEST_F(LiveMounts, AreThoseOfANewNamespace) {
    const BlockDevices devices{SystemRoot()};
    Mounts mounts(devices);
    const MountPoint point;
    static_cast<void>(mounts.current());
    EXPECT_TRUE(holdsInChild([&] {
        return mounts.current() && ::unshare(CLONE_NEWNS) == 0 && point.mount() &&
               contain(mounts.current(), point.path());
    }));
    EXPECT_FALSE(contain(mounts.current(), point.path()));
}

TEST_F(LiveMounts, AreThoseOfANewRootFolder) {
    const BlockDevices devices{SystemRoot()};
    Mounts mounts(devices);
    const TemporaryFolder folder;
    folder.makeFolder("proc");
    ASSERT_EQ(::mount("proc", folder.path("proc").c_str(), "proc", 0, nullptr), 0);
    EXPECT_TRUE(contain(mounts.current(), folder.path("proc")));
    EXPECT_TRUE(holdsInChild([&] {
        return mounts.current() && ::chroot(folder.path().c_str()) == 0 && contain(mounts.current(), "/proc") &&
               !contain(mounts.current(), folder.path("proc"));
    }));
    EXPECT_EQ(::umount(folder.path("proc").c_str()), 0);
}

TEST_F(LiveMounts, HaveARootWhereTheRootFolderIsNoMountPoint) {
    const TemporaryFolder folder;
    folder.makeFolder("proc");
    ASSERT_EQ(::mount("proc", folder.path("proc").c_str(), "proc", 0, nullptr), 0);
    EXPECT_TRUE(
        holdsInChild([&] { return ::chroot(folder.path().c_str()) == 0 && ::chdir("/") == 0 && listsItsRootOnce(); }));
    EXPECT_EQ(::umount(folder.path("proc").c_str()), 0);
}

} // namespace
} // namespace sentrel::platform
