// SPDX-License-Identifier: Apache-2.0
// The volumes of a process in a root folder that is no mount point.

#include "tests/support/MountNamespace.h"
#include "tests/support/TemporaryFolder.h"

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>
#include <algorithm>
#include <gtest/gtest.h>
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

TEST_F(LiveMounts, HaveARootWhereTheRootFolderIsNoMountPoint) {
    const TemporaryFolder folder;
    folder.makeFolder("proc");
    ASSERT_EQ(::mount("proc", folder.path("proc").c_str(), "proc", 0, nullptr), 0);
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(::chroot(folder.path().c_str()) == 0 && ::chdir("/") == 0 && listsItsRootOnce() ? 0 : 1);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(::umount(folder.path("proc").c_str()), 0);
}

} // namespace
} // namespace sentrel::platform
