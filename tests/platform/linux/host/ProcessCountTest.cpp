// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ProcessCount.h>

#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace sentrel::platform {
namespace {

// Some file systems do not count the links of their folders.
bool countsLinks(const TemporaryFolder& folder) {
    struct stat status {};
    return ::stat(folder.path("proc").c_str(), &status) == 0 && status.st_nlink > 2;
}

TEST(ProcessCount, CountsTheFoldersOfProcessesByTheLinksOfTheirParent) {
    const TemporaryFolder folder;
    for (const char* name : {"1", "2", "47", "30000", "sys", "fs", "driver", "irq"})
        folder.makeFolder(std::string("proc/") + name);
    folder.write("proc/meminfo", "");
    folder.link("proc/self", "47");
    if (!countsLinks(folder))
        GTEST_SKIP() << "this file system does not count the links of a folder";
    ProcessCount count{SystemRoot(folder.path())};
    ASSERT_TRUE(count.open());
    EXPECT_EQ(count.read(), 4u);
    folder.makeFolder("proc/48");
    EXPECT_EQ(count.read(), 5u);
    folder.remove("proc/1");
    folder.remove("proc/2");
    EXPECT_EQ(count.read(), 3u);
}

TEST(ProcessCount, NoticesAFolderThatADriverAddsAfterAWhile) {
    const TemporaryFolder folder;
    for (const char* name : {"1", "2", "sys"})
        folder.makeFolder(std::string("proc/") + name);
    if (!countsLinks(folder))
        GTEST_SKIP() << "this file system does not count the links of a folder";
    ProcessCount count{SystemRoot(folder.path())};
    ASSERT_TRUE(count.open());
    EXPECT_EQ(count.read(), 2u);
    folder.makeFolder("proc/asound");
    for (int sample = 0; sample < 256; ++sample)
        ASSERT_TRUE(count.read());
    EXPECT_EQ(count.read(), 2u);
}

TEST(ProcessCount, IsAbsentWithoutProcesses) {
    const TemporaryFolder folder;
    ProcessCount count{SystemRoot(folder.path())};
    errno = 0;
    EXPECT_FALSE(count.open());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(count.read());
    folder.makeFolder("proc/sys");
    ASSERT_TRUE(count.open());
    EXPECT_FALSE(count.read());
    EXPECT_EQ(errno, ENOTSUP);
}

} // namespace
} // namespace sentrel::platform
