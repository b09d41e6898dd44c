// SPDX-License-Identifier: Apache-2.0
// The watch on the kernel's own mount table, in a mount namespace of the program's own.

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/LinuxPlatform.h>
#include <SentrelKit/platform/linux/common/Folder.h>
#include <SentrelKit/platform/linux/common/UniqueFd.h>
#include <SentrelKit/platform/linux/dispatch/LinuxDispatch.h>
#include <SentrelKit/platform/linux/volumes/LinuxVolumeService.h>

#include "tests/contract/ObservationContract.h"
#include "tests/support/Await.h"
#include "tests/support/Eventually.h"
#include "tests/support/Sanitizers.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/LoopDisk.h"
#include "tests/support/linux/MountNamespace.h"

#include <array>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace sentrel::platform {
namespace {

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

class LiveVolumeWatch : public testing::Test {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
    }

    std::string mount(const std::string& name) {
        folder_.makeFolder(name);
        std::string path = folder_.path(name);
        EXPECT_EQ(::mount("none", path.c_str(), "tmpfs", 0, nullptr), 0);
        mounted_.push_back(path);
        return path;
    }

    void TearDown() override {
        for (const std::string& path : mounted_)
            ::umount(path.c_str());
    }

    VolumeService& volumes_ = current().volumes();

private:
    TemporaryFolder folder_;
    std::vector<std::string> mounted_;
};

// Observers ran under the watch's lock.
TEST_F(LiveVolumeWatch, AnObserverMayReleaseItselfAndMakeAnother) {
    std::mutex host;
    Observation first;
    Observation second;
    Event heardFirst;
    Event heardSecond;
    {
        const std::lock_guard lock(host);
        first = volumes_.observe([&](const VolumeNotification&) {
            const std::lock_guard inside(host);
            if (!first)
                return;
            first.reset();
            second = volumes_.observe([&](const VolumeNotification&) { heardSecond.happened(); });
            heardFirst.happened();
        });
        ASSERT_TRUE(first); // an unmount of before may be told already
    }
    mount("one");
    ASSERT_TRUE(heardFirst.await());
    mount("two");
    EXPECT_TRUE(heardSecond.await());
    const std::lock_guard lock(host);
    second.reset();
    EXPECT_EQ(heardFirst.count(), 1);
}

TEST_F(LiveVolumeWatch, TellsOfEachMountAndUnmountOnceAndInTheirOrder) {
    std::mutex guard;
    std::vector<std::string> heard;
    Event told;
    const auto observation = volumes_.observe([&](const VolumeNotification& notice) {
        const std::lock_guard lock(guard);
        const bool isMount = notice.kind == VolumeNotification::Kind::didMount;
        heard.push_back((isMount ? "mount " : "unmount ") + notice.path.value_or("?"));
        told.happened();
    });
    ASSERT_TRUE(observation);
    const std::string path = mount("three");
    ASSERT_TRUE(told.await(1));
    ASSERT_EQ(::umount(path.c_str()), 0);
    ASSERT_TRUE(told.await(2));
    const std::lock_guard lock(guard);
    EXPECT_EQ(heard, (std::vector<std::string>{"mount " + path, "unmount " + path}));
}

class Volumes {
public:
    static constexpr bool tellsItself = false;
    static const char* missing() { return inOwnMountNamespace() ? nullptr : "no right to a mount namespace"; }

    ~Volumes() {
        for (int i = 0; i < count; ++i)
            ::umount(path(i).c_str());
    }

    Observation observe(std::function<void()> observer) {
        return current().volumes().observe([call = std::move(observer)](const VolumeNotification&) { call(); });
    }
    // One mount after the other, and then their ends: what is undone before anybody looks is not told.
    void happen() {
        const std::lock_guard lock(mutex_);
        const int step = step_++ % (2 * count);
        const std::string path = this->path(step % count);
        if (step < count) {
            folder_.makeFolder(std::to_string(step));
            EXPECT_EQ(::mount("none", path.c_str(), "tmpfs", 0, nullptr), 0);
        } else {
            EXPECT_EQ(::umount(path.c_str()), 0);
        }
    }

private:
    static constexpr int count = 8;

    [[nodiscard]] std::string path(int number) const { return folder_.path(std::to_string(number)); }

    TemporaryFolder folder_;
    std::mutex mutex_;
    int step_ = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(LinuxVolumes, ObservationContract, Volumes);

// How the threads of this process wait for descriptors, which is how timers are waited for.
struct Waits {
    int unlimited = 0;
    int limited = 0;
};

Waits waitsOfThisProcess() {
    Waits waits;
    for (const std::string& thread : namesIn(SystemRoot(), "/proc/self/task").value_or(std::vector<std::string>())) {
        std::istringstream call(SystemRoot().read("/proc/self/task/" + thread + "/syscall").value_or(std::string()));
        long number = -1;
        std::array<std::string, 4> arguments;
        call >> number;
        for (std::string& argument : arguments)
            call >> argument;
#ifdef SYS_epoll_wait
        const bool isWait = number == SYS_epoll_pwait || number == SYS_epoll_wait;
#else
        const bool isWait = number == SYS_epoll_pwait;
#endif
        if (isWait && call)
            ++(static_cast<int>(std::stoull(arguments[3], nullptr, 16)) < 0 ? waits.unlimited : waits.limited);
    }
    return waits;
}

// The labels of volumes were looked at every two seconds, for ever.
TEST_F(LiveVolumeWatch, WaitsWithoutATimer) {
    LinuxDispatch dispatch;
    LinuxVolumeService service{SystemRoot(), dispatch};
    const auto observation = service.observe([](const VolumeNotification&) {});
    ASSERT_TRUE(observation);
    EXPECT_TRUE(eventually([] {
        const Waits waits = waitsOfThisProcess();
        return waits.unlimited > 0 && waits.limited == 0;
    }));
    const std::unique_ptr<RepeatingTimer> timer = dispatch.backgroundQueue()->makeTimer(2'000'000'000, [] {});
    timer->resume();
    EXPECT_TRUE(eventually([] { return waitsOfThisProcess().limited == 1; })) << "this test sees no timers";
}

// The open mount table that a child has from its parent shares its notices with it.
TEST_F(LiveVolumeWatch, TellsTheParentOfAMountThatAChildHearsOfToo) {
    if (underThreadSanitizer || underAddressSanitizer)
        GTEST_SKIP() << "the sanitizers' own locks may be held by another thread at the fork";
    Event heard;
    const auto observation = volumes_.observe([&](const VolumeNotification&) { heard.happened(); });
    ASSERT_TRUE(observation);
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);
    const UniqueFd readyToRead(ready[0]);
    const UniqueFd readyToWrite(ready[1]);
    const pid_t child = ::fork();
    if (child == 0) {
        Event own;
        const auto ownObservation = volumes_.observe([&](const VolumeNotification&) { own.happened(); });
        volumes_.checkLabel("/");
        const bool isReady = volumes_.countMountedFileSystems() > 0 && ::write(readyToWrite.get(), "r", 1) == 1;
        ::_exit(isReady && own.await() && heard.count() == 0 && volumes_.countMountedFileSystems() > 0 ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(readyToRead.get(), &byte, 1), 1);
    mount("both");
    EXPECT_TRUE(heard.await());
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

// Until udev tells, nobody but the file system itself knows its new label.
TEST_F(LiveVolumeWatch, TellsOfALabelGivenToAMountedFileSystemToWhomLooks) {
    if (::access("/dev/loop-control", W_OK) != 0)
        GTEST_SKIP() << "no loop devices";
    const LoopDisk image("BEFORE", 16);
    image.mount();
    std::mutex guard;
    std::vector<std::string> heard;
    const auto observation = volumes_.observe([&](const VolumeNotification& notice) {
        const std::lock_guard lock(guard);
        if (notice.kind == VolumeNotification::Kind::didRename)
            heard.push_back(notice.oldName.value_or("?") + " > " + notice.newName.value_or("?"));
    });
    ASSERT_TRUE(observation);
    volumes_.checkLabel(image.path());
    image.setLabel("AFTER");
    volumes_.checkLabel("/");
    volumes_.checkLabel(image.path());
    volumes_.checkLabel(image.path());
    const std::lock_guard lock(guard);
    EXPECT_EQ(heard, (std::vector<std::string>{"BEFORE > AFTER"}));
}

} // namespace
} // namespace sentrel::platform
