// SPDX-License-Identifier: Apache-2.0
// Space, listings and notices beside file systems that do not answer.

#include <SentrelKit/platform/linux/volumes/VolumeSpace.h>

#include "tests/support/Eventually.h"
#include "tests/support/linux/HangingFileSystem.h"
#include "tests/support/linux/LoopDisk.h"
#include "tests/support/linux/MountNamespace.h"

#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>
#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

std::size_t threadsOfThisProcess() {
    std::size_t count = 0;
    DIR* const tasks = ::opendir("/proc/self/task");
    while (tasks && ::readdir(tasks))
        ++count;
    ::closedir(tasks);
    return count;
}

class LiveVolumeSpace : public testing::Test {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
        if (::access("/dev/fuse", R_OK | W_OK) != 0)
            GTEST_SKIP() << "no user-space file systems";
        std::thread([] {}).join(); // a sanitizer's own thread comes with the first one
    }

    std::vector<MountedFileSystem> list() {
        std::vector<MountedFileSystem> entries(
            static_cast<std::size_t>(std::max(service_.countMountedFileSystems(), 0)));
        EXPECT_EQ(service_.listMountedFileSystems(entries), static_cast<std::int32_t>(entries.size()));
        return entries;
    }

    // The last one mounted there.
    std::optional<MountedFileSystem> listed(const std::string& path) {
        const std::vector<MountedFileSystem> entries = list();
        const auto entry = std::find_if(entries.rbegin(), entries.rend(),
                                        [&](const MountedFileSystem& each) { return each.on == path; });
        return entry == entries.rend() ? std::nullopt : std::optional(*entry);
    }

    LinuxDispatch dispatch_;
    LinuxVolumeService service_{SystemRoot(), dispatch_};
};

// Only a mount's own type was looked at, and the look-up of a local disk's mount point waited in the file system above.
TEST_F(LiveVolumeSpace, ListsAndMeasuresALocalDiskBelowAMountThatDoesNotAnswer) {
    const LoopDisk image("BELOW", 16);
    HangingFileSystem above("host:/above");
    ASSERT_EQ(::mount(image.node().c_str(), above.inside().c_str(), "ext4", 0, nullptr), 0);
    above.hang();
    std::optional<MountedFileSystem> entry;
    std::optional<FileSystemSpace> space;
    int error = 0;
    ASSERT_TRUE(endsThough(above, [&] {
        entry = listed(above.inside());
        space = service_.space(above.inside().c_str());
        error = errno;
        static_cast<void>(service_.space((above.inside() + "/lost+found").c_str()));
    }));
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->dontBrowse);
    EXPECT_EQ(entry->space.blocks, 0U);
    EXPECT_FALSE(space);
    EXPECT_EQ(error, ETIMEDOUT);

    above.answer();
    EXPECT_TRUE(eventually([&] { return service_.space(above.inside().c_str()).has_value(); }));
    EXPECT_GT(listed(above.inside())->space.blocks, 0U);
}

TEST_F(LiveVolumeSpace, AsksALocalDiskThatCoversAMountThatDoesNotAnswerDirectly) {
    const LoopDisk image("OVER", 16);
    HangingFileSystem below("host:/below");
    below.hang();
    ASSERT_EQ(::mount(image.node().c_str(), below.path().c_str(), "ext4", 0, nullptr), 0);
    std::optional<MountedFileSystem> entry;
    const std::size_t threads = threadsOfThisProcess();
    ASSERT_TRUE(endsThough(below, [&] { entry = listed(below.path()); }));
    ASSERT_EQ(::umount2(below.path().c_str(), 0), 0);
    ASSERT_TRUE(entry);
    EXPECT_GT(entry->space.blocks, 0U);
    // Fewer, when one of an earlier test ended; a thread that was joined is listed for a moment more.
    EXPECT_TRUE(eventually([&] { return threadsOfThisProcess() <= threads; }));
}

// Each call put a question of its own, on a thread that never ended.
TEST_F(LiveVolumeSpace, AsksAMountThatIsNoVolumeAndDoesNotAnswerOnOneThread) {
    HangingFileSystem hanging("portal", 1000, "portal");
    hanging.hang();
    const std::size_t threads = threadsOfThisProcess();
    ASSERT_TRUE(endsThough(hanging, [&] {
        for (int call = 0; call < 20; ++call) {
            EXPECT_FALSE(service_.space(hanging.path().c_str()));
            EXPECT_FALSE(service_.space(hanging.inside().c_str()));
            if (call % 5 == 0)
                list();
        }
    }));
    EXPECT_TRUE(eventually([&] { return threadsOfThisProcess() <= threads + 1; })); // without the closure's own
}

TEST_F(LiveVolumeSpace, GivesAMountThatIsNoVolumeItsFiguresOfNow) {
    HangingFileSystem first("portal", 1000, "portal");
    EXPECT_EQ(service_.space(first.path().c_str())->blocks, 1000U);
    const HangingFileSystem second("portal", 2000, "portal", first.path());
    EXPECT_EQ(service_.space(first.path().c_str())->blocks, 2000U);
}

// Questions were kept by path: the answer that never came was waited for on behalf of the mount that took its place.
TEST_F(LiveVolumeSpace, ShowsTheFiguresOfAHealthyMountOverOneThatDoesNotAnswer) {
    HangingFileSystem dead("host:/dead");
    EXPECT_EQ(listed(dead.path())->space.blocks, 1000U);
    dead.hang();
    ASSERT_TRUE(service_.space(dead.path().c_str())); // the answer before; the new question hangs
    ASSERT_TRUE(dead.isAsked());
    const HangingFileSystem healthy("host:/healthy", 2000, "sshfs", dead.path());
    std::optional<MountedFileSystem> entry;
    ASSERT_TRUE(endsThough(dead, [&] { entry = listed(dead.path()); }));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->space.blocks, 2000U);
    EXPECT_EQ(service_.space(dead.path().c_str())->blocks, 2000U);
}

// Its last figures came for ever, and nobody could tell that they were old.
TEST_F(LiveVolumeSpace, TellsThatAMountStoppedAnsweringAndThatItAnswersAgain) {
    HangingFileSystem share("host:/share");
    EXPECT_TRUE(listed(share.path())->space.answers);
    share.hang();
    const auto answers = [&] {
        const std::optional<FileSystemSpace> space = service_.space(share.path().c_str());
        EXPECT_TRUE(space && space->blocks == 1000U);
        return space && space->answers;
    };
    ASSERT_TRUE(endsThough(share, [&] {
        EXPECT_TRUE(eventually([&] { return !answers(); }));
        const std::optional<MountedFileSystem> entry = listed(share.path());
        EXPECT_EQ(entry->space.blocks, 1000U);
        EXPECT_FALSE(entry->space.answers);
    }));
    share.answer();
    EXPECT_TRUE(eventually(answers));
}

TEST_F(LiveVolumeSpace, ListsAMountThatNeverAnsweredAsOneThatDoesNot) {
    HangingFileSystem share("host:/never");
    share.hang();
    std::optional<MountedFileSystem> entry;
    ASSERT_TRUE(endsThough(share, [&] { entry = listed(share.path()); }));
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->space.answers);
    EXPECT_EQ(entry->space.blocks, 0U);
}

// The same, when no listing came between the end of the one and the beginning of the other.
TEST_F(LiveVolumeSpace, ShowsTheFiguresOfTheSameShareMountedAnew) {
    const TemporaryFolder folder;
    folder.makeFolder("mnt");
    const std::string path = folder.path("mnt");
    HangingFileSystem dead("host:/share", 1000, "sshfs", path);
    EXPECT_EQ(listed(path)->space.blocks, 1000U);
    dead.hang();
    ASSERT_TRUE(service_.space(path.c_str()));
    ASSERT_TRUE(dead.isAsked());
    ASSERT_EQ(::umount2(path.c_str(), MNT_DETACH), 0);
    const HangingFileSystem healthy("host:/share", 2000, "sshfs", path);
    std::optional<MountedFileSystem> entry;
    ASSERT_TRUE(endsThough(dead, [&] { entry = listed(path); }));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->space.blocks, 2000U);
}

} // namespace
} // namespace sentrel::platform
