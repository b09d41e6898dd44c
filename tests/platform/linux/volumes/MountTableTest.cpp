// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/volumes/MountTable.h>

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace sentrel::platform {
namespace {

std::vector<std::string> visiblePaths(const std::string& table) {
    std::vector<std::string> paths;
    for (const MountEntry& entry : parseMountTable(table)) {
        if (entry.isVisible)
            paths.push_back(entry.on + '=' + entry.from);
    }
    return paths;
}

TEST(MountTable, ReadsEveryFieldOfALine) {
    const auto entry =
        parseMountLine("36 35 98:7 /sub /mnt/x rw,noatime master:1 shared:2 - ext3 /dev/sdb1 rw,errors=remount-ro");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->id, 36);
    EXPECT_EQ(entry->parent, 35);
    EXPECT_EQ(entry->deviceMajor, 98U);
    EXPECT_EQ(entry->deviceMinor, 7U);
    EXPECT_EQ(entry->root, "/sub");
    EXPECT_EQ(entry->on, "/mnt/x");
    EXPECT_EQ(entry->type, "ext3");
    EXPECT_EQ(entry->from, "/dev/sdb1");
    EXPECT_EQ(entry->superOptions, "rw,errors=remount-ro");
}

TEST(MountTable, UndoesOctalEscapesAndLeavesWhatIsNone) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"(/a\040b)", "/a b"},          {R"(/a\012b)", "/a\nb"},
        {R"(/a\011b)", "/a\tb"},         {R"(/a\134b)", R"(/a\b)"},
        {R"(/a\134040b)", R"(/a\040b)"}, {R"(/a\043)", "/a#"},
        {R"(/a\04)", R"(/a\04)"},        {R"(/a\)", R"(/a\)"},
        {R"(/a\999)", R"(/a\999)"},      {R"(/a\303\244)", "/a\u00e4"},
        {R"(/a\777)", R"(/a\777)"}};
    for (const auto& [escaped, plain] : cases) {
        const auto entry = parseMountLine("1 0 8:1 / " + escaped + " rw - ext4 /dev/sda1 rw");
        ASSERT_TRUE(entry) << escaped;
        EXPECT_EQ(entry->on, plain);
    }
}

TEST(MountTable, TakesAnEmptySourceForWhatItIs) {
    const auto entry = parseMountLine("36 35 0:30 / /mnt rw -  tmpfs  rw");
    EXPECT_FALSE(entry) << "an empty type is no mount";
    const auto empty = parseMountLine("36 35 0:30 / /mnt rw - tmpfs  rw,size=4k");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->from, "");
    EXPECT_EQ(empty->superOptions, "rw,size=4k");
}

TEST(MountTable, LeavesOutLinesThatAreNone) {
    for (const char* line :
         {"", "garbage", "1 2", "1 2 8:1 / /mnt rw", "1 2 8:1 / /mnt rw -", "1 2 8:1 / /mnt rw - ext4",
          "x 2 8:1 / /mnt rw - ext4 /dev/sda rw", "1 2 8-1 / /mnt rw - ext4 /dev/sda rw",
          "1 2 8:x / /mnt rw - ext4 /dev/sda rw", "1 2 8:1 / mnt rw - ext4 /dev/sda rw",
          "99999999999999999999 2 8:1 / /mnt rw - ext4 /dev/sda rw"})
        EXPECT_FALSE(parseMountLine(line)) << line;
    EXPECT_EQ(parseMountTable("junk\n1 0 8:1 / / rw - ext4 /dev/sda1 rw\nmore junk\n").size(), 1U);
}

TEST(MountTable, ReadsALastLineWithoutItsEnd) {
    EXPECT_EQ(parseMountTable("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n2 1 8:2 / /b rw - ext4 /dev/sda2 rw").size(), 2U);
    EXPECT_TRUE(parseMountTable("").empty());
}

TEST(MountTable, ReadsThousandsOfMounts) {
    std::string table = "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n";
    for (int i = 2; i < 10000; ++i)
        table += std::to_string(i) + " 1 0:50 / /m/" + std::to_string(i) + " rw - tmpfs tmpfs rw\n";
    EXPECT_EQ(visiblePaths(table).size(), 9999U);
}

TEST(MountTable, HidesAMountThatAnotherOneCovers) {
    EXPECT_THAT(visiblePaths("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
                             "2 1 8:2 / /mnt rw - ext4 below rw\n"
                             "3 2 8:3 / /mnt rw - ext4 above rw\n"),
                testing::ElementsAre("/=/dev/sda1", "/mnt=above"));
}

TEST(MountTable, HidesAMountUnderACoveredFolder) {
    EXPECT_THAT(visiblePaths("1 0 8:1 / / rw - ext4 root rw\n"
                             "2 1 8:2 / /mnt/a rw - ext4 deep rw\n"
                             "3 1 8:3 / /mnt rw - ext4 over rw\n"
                             "4 2 8:4 / /mnt/a/b rw - ext4 deeper rw\n"),
                testing::ElementsAre("/=root", "/mnt=over"));
}

TEST(MountTable, ShowsAMountInsideACoveringOne) {
    EXPECT_THAT(visiblePaths("1 0 8:1 / / rw - ext4 root rw\n"
                             "2 1 8:2 / /mnt rw - ext4 over rw\n"
                             "3 2 8:3 / /mnt/a rw - ext4 inside rw\n"),
                testing::ElementsAre("/=root", "/mnt=over", "/mnt/a=inside"));
}

TEST(MountTable, ShowsTheTopOfARootThatWasCovered) {
    EXPECT_THAT(visiblePaths("1 1 0:2 / / rw - rootfs rootfs rw\n"
                             "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                             "21 20 8:2 / /home rw - ext4 /dev/sda2 rw\n"
                             "22 1 8:3 / /old rw - ext4 /dev/sda3 rw\n"),
                testing::ElementsAre("/=/dev/sda1", "/home=/dev/sda2"));
}

TEST(MountTable, ComesToAnEndOnARingOfParents) {
    EXPECT_EQ(visiblePaths("1 2 8:1 / /a rw - ext4 a rw\n2 1 8:2 / /b rw - ext4 b rw\n").size(), 2U);
}

TEST(MountTable, ComesToAnEndOnAStackOfThousands) {
    std::string table = "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n";
    for (int i = 2; i < 20000; ++i)
        table +=
            std::to_string(i) + ' ' + std::to_string(i - 1) + " 0:50 / /m rw - tmpfs t" + std::to_string(i) + " rw\n";
    EXPECT_THAT(visiblePaths(table), testing::ElementsAre("/=/dev/sda1", "/m=t19999"));
}

TEST(MountTable, FindsTheMountThatAPathLiesIn) {
    const std::vector<MountEntry> entries = parseMountTable("1 0 8:1 / / rw - ext4 root rw\n"
                                                            "2 1 8:2 / /mnt rw - ext4 mnt rw\n"
                                                            "3 2 8:3 / /mnt/a rw - ext4 inside rw\n");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"/", "root"},        {"/etc", "root"},       {"/mnt", "mnt"},   {"/mntx", "root"},
        {"/mnt/a", "inside"}, {"/mnt/a/b", "inside"}, {"/mnt/ab", "mnt"}};
    for (const auto& [path, from] : cases)
        EXPECT_EQ(mountOfPath(entries, path)->from, from) << path;
    EXPECT_EQ(mountOfPath(entries, "relative"), nullptr);
    EXPECT_EQ(mountOfPath({}, "/"), nullptr);
}

} // namespace
} // namespace sentrel::platform
