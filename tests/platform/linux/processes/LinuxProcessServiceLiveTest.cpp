// SPDX-License-Identifier: Apache-2.0
// A /proc that hides other users' processes, as seen by an unprivileged user.

#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/linux/MountNamespace.h"
#include "tests/support/linux/Nobody.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace sentrel::platform {
namespace {

const testing::Environment* const ownNamespace = testing::AddGlobalTestEnvironment(new OwnMountNamespace);

class HiddenProcesses : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!inOwnMountNamespace())
            GTEST_SKIP() << "no right to a mount namespace";
        folder_.makeFolder("proc");
        ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
        ASSERT_EQ(::mount("proc", folder_.path("proc").c_str(), "proc", 0, GetParam()), 0);
    }
    void TearDown() override { ::umount(folder_.path("proc").c_str()); }

    [[nodiscard]] std::unique_ptr<LinuxProcessService> makeService() const {
        return std::make_unique<LinuxProcessService>(SystemRoot(folder_.path()),
                                                     std::make_unique<KernelProcessClocks>());
    }

    static bool shows(LinuxProcessService& service, std::int32_t id) {
        const RunningApplications running = service.runningApplications();
        return std::any_of(running.begin(), running.end(),
                           [id](const auto& application) { return application->processIdentifier == id; });
    }

    TemporaryFolder folder_;
};

TEST_P(HiddenProcesses, LeaveTheUsersOwnToBeMeasured) {
    const pid_t stranger = ::getpid();
    asNobody([&] {
        ASSERT_NE(::access(folder_.path("proc/" + std::to_string(stranger) + "/stat").c_str(), R_OK), 0);
        const auto service = makeService();
        EXPECT_TRUE(shows(*service, ::getpid()));
        EXPECT_FALSE(shows(*service, stranger));
        const std::optional<TaskInfo> own = service->taskInfo(::getpid());
        ASSERT_TRUE(own);
        EXPECT_GT(own->residentBytes, 0U);
        // A sanitizer may keep a thread beside the only one.
        const std::filesystem::directory_iterator threads("/proc/self/task");
        EXPECT_EQ(own->threads, std::distance(begin(threads), end(threads)));
        EXPECT_FALSE(service->taskInfo(stranger));
        EXPECT_FALSE(service->parent(stranger));
    });
}

TEST_P(HiddenProcesses, AreFollowedAsTheyComeAndGo) {
    asNobody([&] {
        const auto service = makeService();
        ASSERT_TRUE(shows(*service, ::getpid()));
        const pid_t child = ::fork();
        if (child == 0) {
            ::pause();
            ::_exit(0);
        }
        EXPECT_TRUE(shows(*service, child));
        EXPECT_TRUE(service->taskInfo(child));
        EXPECT_EQ(service->parent(child), ::getpid());
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        EXPECT_FALSE(shows(*service, child));
        EXPECT_FALSE(service->taskInfo(child));
    });
}

INSTANTIATE_TEST_SUITE_P(Live, HiddenProcesses, testing::Values("hidepid=1", "hidepid=2"),
                         [](const auto& test) { return std::string(test.param).replace(7, 1, ""); });

} // namespace
} // namespace sentrel::platform
