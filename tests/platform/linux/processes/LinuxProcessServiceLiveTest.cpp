// SPDX-License-Identifier: Apache-2.0
// A /proc that hides other users' processes, as seen by an unprivileged user; and the further facts of a process beside
// what another program reads.

#include <SentrelKit/platform/linux/processes/LinuxProcessService.h>

#include "tests/support/ChildProgram.h"
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
#include <vector>

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

// A process that wrote a megabyte to the disk and holds some files open, and what psutil tells of it.
class BesidePsutil : public testing::Test {
protected:
    BesidePsutil()
        : worker({"/usr/bin/python3", "-c",
                  "import os, signal, sys, tempfile\n"
                  "file = tempfile.TemporaryFile(dir='.')\n"
                  "file.write(bytes(1 << 20)); file.flush(); os.fsync(file.fileno())\n"
                  "print('ready', flush=True)\n"
                  "signal.pause()",
                  "two words", ""}) {}

    void SetUp() override { ASSERT_EQ(worker.readLine(), "ready"); }

    [[nodiscard]] std::vector<std::string> psutil(const std::string& expression) const {
        ChildProgram child({"/usr/bin/python3", "-c",
                            "import psutil\nprocess = psutil.Process(" + std::to_string(worker.id()) +
                                ")\nfor each in " + expression + ": print(each)"});
        std::vector<std::string> lines;
        while (const std::optional<std::string> line = child.readLine())
            lines.push_back(*line);
        return lines;
    }

    ChildProgram worker;
    LinuxProcessService service{SystemRoot()};
};

TEST_F(BesidePsutil, TellsTheSameOfAProcess) {
    StorageBytes bytes;
    ASSERT_EQ(service.storageBytes(worker.id(), bytes), Availability::available);
    EXPECT_EQ((std::vector{std::to_string(bytes.read), std::to_string(bytes.written)}),
              psutil("process.io_counters()[2:4]"));
    std::uint64_t files = 0;
    ASSERT_EQ(service.openFiles(worker.id(), files), Availability::available);
    EXPECT_EQ(std::vector{std::to_string(files)}, psutil("[process.num_fds()]"));
    std::vector<std::string> words;
    ASSERT_EQ(service.commandLine(worker.id(), words), Availability::available);
    EXPECT_EQ(std::vector{std::to_string(words.size())}, psutil("[len(process.cmdline())]"));
    EXPECT_EQ(words.back(), "");
    EXPECT_EQ(words[words.size() - 2], "two words");
    ProcessIdentity identity;
    ASSERT_EQ(service.identity(worker.id(), identity), Availability::available);
    // It keeps the fraction of a second.
    EXPECT_EQ((std::vector{std::to_string(identity.started), std::to_string(identity.user)}),
              psutil("(int(process.create_time()), process.uids().effective)"));
    std::string name;
    ASSERT_EQ(service.userName(identity.user, name), Availability::available);
    EXPECT_EQ(std::vector{name}, psutil("[process.username()]"));
}

TEST_F(BesidePsutil, IsDeniedWhatIsAnotherUsersAlone) {
    asNobody([this] {
        LinuxProcessService nobodys{SystemRoot()};
        StorageBytes bytes{7, 8};
        std::uint64_t files = 9;
        EXPECT_EQ(nobodys.storageBytes(worker.id(), bytes), Availability::denied);
        EXPECT_EQ(nobodys.openFiles(worker.id(), files), Availability::denied);
        EXPECT_EQ(bytes, (StorageBytes{7, 8}));
        EXPECT_EQ(files, 9U);
        ProcessIdentity identity;
        std::vector<std::string> words;
        EXPECT_EQ(nobodys.identity(worker.id(), identity), Availability::available);
        EXPECT_EQ(nobodys.commandLine(worker.id(), words), Availability::available);
    });
}

} // namespace
} // namespace sentrel::platform
