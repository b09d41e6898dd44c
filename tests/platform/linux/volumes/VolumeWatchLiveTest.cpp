// SPDX-License-Identifier: Apache-2.0
// The watch on the kernel's own mount table, in a mount namespace of the program's own.

#include <SentrelKit/platform/VolumeService.h>
#include <SentrelKit/platform/linux/LinuxPlatform.h>

#include "tests/contract/ObservationContract.h"
#include "tests/support/Await.h"
#include "tests/support/MountNamespace.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <sys/mount.h>
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
    }
    ASSERT_TRUE(first);
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

} // namespace
} // namespace sentrel::platform
