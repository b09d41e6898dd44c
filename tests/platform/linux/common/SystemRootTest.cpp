// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/SystemRoot.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(SystemRoot, IsTheRealMachineUnlessMoved) {
    EXPECT_TRUE(SystemRoot().isReal());
    EXPECT_TRUE(SystemRoot("/").isReal());
    EXPECT_EQ(SystemRoot().path("/proc/stat"), "/proc/stat");
    EXPECT_FALSE(SystemRoot("/elsewhere/").isReal());
    EXPECT_EQ(SystemRoot("/elsewhere/").path("/proc/stat"), "/elsewhere/proc/stat");
}

TEST(SystemRoot, ReadsWholeFilesUpToALimit) {
    const TemporaryFolder folder;
    folder.write("proc/long", std::string(10'000, 'x'));
    folder.write("proc/empty", "");
    const SystemRoot root(folder.path());
    EXPECT_EQ(root.read("/proc/long").value().size(), 10'000U);
    EXPECT_EQ(root.read("/proc/long", 5000).value().size(), 5000U);
    EXPECT_EQ(root.read("/proc/empty"), "");
}

TEST(SystemRoot, ReadsOneLineFilesWithoutTheirBlanks) {
    const TemporaryFolder folder;
    folder.write("sys/a", "  value of a \n");
    folder.write("sys/b", "value");
    folder.write("sys/c", " \n");
    const SystemRoot root(folder.path());
    EXPECT_EQ(root.readLine("/sys/a"), "value of a");
    EXPECT_EQ(root.readLine("/sys/b"), "value");
    EXPECT_EQ(root.readLine("/sys/c"), "");
}

TEST(SystemRoot, WhatCannotBeReadIsAbsentWithItsReason) {
    const TemporaryFolder folder;
    folder.makeFolder("proc/folder");
    const SystemRoot root(folder.path());
    EXPECT_EQ(root.read("/proc/missing"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(root.read("/proc/folder"), std::nullopt);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(root.open("/proc/missing"));
}

TEST(SystemRoot, OpensCloseOnExec) {
    const UniqueFd file = SystemRoot().open("/proc/stat");
    ASSERT_TRUE(file);
    EXPECT_TRUE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC);
}

TEST(KeptFile, ReadsTheNewContentThroughTheSameDescriptor) {
    const TemporaryFolder folder;
    folder.write("proc/stat", "first");
    KeptFile file{SystemRoot(folder.path()), "/proc/stat"};
    std::array<char, 64> buffer{};
    EXPECT_EQ(file.read(buffer), "first");
    folder.write("proc/stat", "second, longer");
    EXPECT_EQ(file.read(buffer), "second, longer");
    folder.remove("proc/stat");
    EXPECT_EQ(file.read(buffer), "second, longer") << "no path is opened again";
}

TEST(KeptFile, CutsToTheBuffer) {
    const TemporaryFolder folder;
    folder.write("proc/stat", std::string(100, 'x'));
    KeptFile file{SystemRoot(folder.path()), "/proc/stat"};
    std::array<char, 10> buffer{};
    EXPECT_EQ(file.read(buffer), "xxxxxxxxxx");
}

TEST(KeptFile, TriesAgainAfterAFailure) {
    const TemporaryFolder folder;
    KeptFile file{SystemRoot(folder.path()), "/proc/stat"};
    std::array<char, 64> buffer{};
    EXPECT_EQ(file.read(buffer), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    folder.write("proc/stat", "there");
    EXPECT_EQ(file.read(buffer), "there");
}

TEST(KeptFile, OpensTheFileAnewWhenItsDescriptorFails) {
    // What a process tells of itself cannot be read any more once it has ended; here another file then has the name.
    const TemporaryFolder folder;
    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    folder.link("proc/stat", "/proc/" + std::to_string(child) + "/stat");
    KeptFile file{SystemRoot(folder.path()), "/proc/stat"};
    std::array<char, 512> buffer{};
    EXPECT_TRUE(file.read(buffer));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(file.read(buffer), std::nullopt);
    EXPECT_TRUE(errno == ENOENT || errno == ESRCH) << errno;
    folder.remove("proc/stat");
    folder.write("proc/stat", "another");
    EXPECT_EQ(file.read(buffer), "another");
}

TEST(KeptFile, ReadsATableWhole) {
    KeptFile file{SystemRoot(), "/proc/self/maps"};
    std::vector<char> buffer(std::size_t{1} << 20);
    const std::size_t page = file.read(buffer).value().size();
    EXPECT_LT(page, file.readTable(buffer).value().size());
}

} // namespace
} // namespace sentrel::platform
