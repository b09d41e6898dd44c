// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/File.h>
#include <SentrelKit/platform/linux/common/Folder.h>

#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>

namespace sentrel::platform {
namespace {

using Names = std::vector<std::string>;

TEST(Folder, NamesStandInByteOrder) {
    const TemporaryFolder folder;
    for (const char* name : {"sys/b", "sys/B", "sys/.hidden", "sys/a/below", "sys/10", "sys/9"})
        folder.write(name, "");
    EXPECT_EQ(namesIn(SystemRoot(folder.path()), "/sys"), (Names{".hidden", "10", "9", "B", "a", "b"}));
}

TEST(Folder, SaysWhyItCannotBeListed) {
    const TemporaryFolder folder;
    folder.write("sys/file", "");
    EXPECT_FALSE(namesIn(SystemRoot(folder.path()), "/none"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(namesIn(SystemRoot(folder.path()), "/sys/file"));
    EXPECT_EQ(errno, ENOTDIR);
    FolderReader reader(-1);
    EXPECT_EQ(reader.next(), nullptr);
    EXPECT_EQ(errno, EBADF);
    EXPECT_TRUE(reader.hasFailed());
}

TEST(FolderReader, GivesEveryEntryOnceHoweverManyReadingsItTakes) {
    const TemporaryFolder folder;
    std::set<std::string> expected;
    for (int i = 0; i < 900; ++i)
        folder.write(*expected.insert(std::string(60, 'n') + std::to_string(i)).first, "");
    folder.makeFolder(*expected.insert("folder").first);
    const UniqueFd open = openAt(AT_FDCWD, folder.path().c_str(), O_DIRECTORY);
    FolderReader reader(open.get());
    std::set<std::string> found;
    while (const dirent64* entry = reader.next()) {
        EXPECT_TRUE(found.insert(entry->d_name).second) << entry->d_name;
        const bool isFolder = std::string(entry->d_name) == "folder";
        EXPECT_TRUE(entry->d_type == DT_UNKNOWN || (entry->d_type == DT_DIR) == isFolder) << entry->d_name;
    }
    EXPECT_EQ(found, expected);
    EXPECT_FALSE(reader.hasFailed());
    EXPECT_EQ(reader.next(), nullptr);
}

} // namespace
} // namespace sentrel::platform
