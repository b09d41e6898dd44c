// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/File.h>

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <vector>

namespace sentrel::platform {
namespace {

TEST(File, OpensBelowAFolderForThisProgramAlone) {
    const TemporaryFolder folder;
    folder.write("a/b", "content");
    const UniqueFd above = openAt(AT_FDCWD, folder.path().c_str(), O_DIRECTORY);
    const UniqueFd file = openAt(above.get(), "a/b");
    ASSERT_TRUE(file);
    EXPECT_TRUE(fcntl(file.get(), F_GETFD) & FD_CLOEXEC);
    EXPECT_FALSE(openAt(above.get(), "a/b", O_DIRECTORY));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(openAt(above.get(), "a/c"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(File, DoesNotWaitForTheOtherEndOfAPipe) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path() + "/pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_TRUE(openAt(AT_FDCWD, pipe.c_str()));
}

TEST(File, ReadsATableToItsEndWhereOneReadGivesAPage) {
    const UniqueFd table = openAt(AT_FDCWD, "/proc/self/maps");
    std::vector<char> buffer(std::size_t{1} << 20);
    const auto once = readOnce(table.get(), buffer);
    const auto whole = readToEnd(table.get(), buffer);
    ASSERT_TRUE(once && whole);
    EXPECT_LT(*once, *whole);
    EXPECT_EQ(buffer[*whole - 1], '\n');
    EXPECT_EQ(readAt(table.get(), buffer, static_cast<off_t>(*whole)), 0U);
}

TEST(File, FillsTheBufferAndNoMore) {
    const TemporaryFolder folder;
    folder.write("file", "0123456789");
    std::array<char, 4> buffer{};
    const UniqueFd file = openAt(AT_FDCWD, (folder.path() + "/file").c_str());
    EXPECT_EQ(readToEnd(file.get(), buffer), 4U);
    EXPECT_EQ(readOnce(file.get(), buffer), 4U);
    EXPECT_EQ(readFileAt(AT_FDCWD, (folder.path() + "/file").c_str(), buffer), "0123");
}

TEST(File, SaysWhyItCannotBeRead) {
    const TemporaryFolder folder;
    std::array<char, 4> buffer{};
    EXPECT_FALSE(readFileAt(AT_FDCWD, folder.path().c_str(), buffer));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(readToEnd(-1, buffer));
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(readFileAt(AT_FDCWD, (folder.path() + "/none").c_str(), buffer));
    EXPECT_EQ(errno, ENOENT);
}

TEST(File, TellsWhereALinkLeads) {
    const TemporaryFolder folder;
    folder.link("link", "../elsewhere");
    folder.write("file", "");
    EXPECT_EQ(linkTarget(folder.path() + "/link"), "../elsewhere");
    EXPECT_FALSE(linkTarget(folder.path() + "/file"));
    EXPECT_EQ(errno, EINVAL);
}

} // namespace
} // namespace sentrel::platform
