// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/ControlGroups.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;

std::optional<ControlGroup> ofMachine(const std::string& name) {
    return readControlGroup(SystemRoot(fixturePath("host/" + name)));
}

TEST(ControlGroups, OfALaptopSetNoLimits) {
    EXPECT_EQ(ofMachine("laptop"), (ControlGroup{2, std::nullopt, std::nullopt, 3221225472}));
}

TEST(ControlGroups, OfAServerOfVersion1CountTheLimitsOfTheGroupsAbove) {
    EXPECT_EQ(ofMachine("server"), (ControlGroup{1, 8, 17179869184, 1073741824}));
}

TEST(ControlGroups, OfAContainerAreThoseOfItsRoot) {
    EXPECT_EQ(ofMachine("container"), (ControlGroup{2, 1.5, 536870912, 104857600}));
}

TEST(ControlGroups, WithoutFilesOfTheirOwnHaveNoFigures) {
    EXPECT_EQ(ofMachine("guest"), (ControlGroup{2, std::nullopt, std::nullopt, std::nullopt}));
}

TEST(ControlGroups, ThatAreNotThereOrNotMountedAreNone) {
    const TemporaryFolder folder;
    EXPECT_EQ(readControlGroup(SystemRoot(folder.path())), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
    folder.write("proc/self/cgroup", "0::/\n");
    EXPECT_EQ(readControlGroup(SystemRoot(folder.path())), std::nullopt);
    folder.write("proc/self/mountinfo", "24 30 0:22 / /proc rw - proc proc rw\n");
    errno = 0;
    EXPECT_EQ(readControlGroup(SystemRoot(folder.path())), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
}

TEST(ControlGroups, AreFoundByTheirController) {
    constexpr const char* groups = "12:memory:/a\n7:cpu,cpuacct:/b:c\n1:name=systemd:/d\n0::/e\n";
    EXPECT_EQ(controlGroupPath(groups, "memory"), "/a");
    EXPECT_EQ(controlGroupPath(groups, "cpu"), "/b:c");
    EXPECT_EQ(controlGroupPath(groups, "cpua"), std::nullopt);
    EXPECT_EQ(controlGroupPath(groups, ""), "/e");
    for (const char* text : {"", "\n", "0", "0:", "0::", "0::relative", "1::/x", "0:x:/x"})
        EXPECT_EQ(controlGroupPath(text, ""), std::nullopt) << text;
}

TEST(ControlGroups, AreFoundInTheMountTable) {
    constexpr const char* table =
        "1 0 8:1 / / rw - ext4 /dev/sda1 rw\n"
        "2 1 0:3 /pod /sys/fs/cgroup/cpu rw shared:1 master:2 - cgroup cgroup rw,cpu,cpuacct\n"
        "3 1 0:4 / /sys/fs/cgroup/unified rw - cgroup2 cgroup2 rw";
    EXPECT_EQ(controlGroupMount(table, "cpuacct"), (ControlGroupMount{"/pod", "/sys/fs/cgroup/cpu"}));
    EXPECT_EQ(controlGroupMount(table, ""), (ControlGroupMount{"/", "/sys/fs/cgroup/unified"}));
    EXPECT_EQ(controlGroupMount(table, "memory"), std::nullopt);
    for (const char* text : {"", "\n", "1 2 3", "1 2 3 / /x rw - cgroup", "1 2 3 / /x rw cgroup2 cgroup2 rw"})
        EXPECT_EQ(controlGroupMount(text, ""), std::nullopt) << text;
}

TEST(ControlGroups, AreWalkedUpToWhatIsMounted) {
    EXPECT_THAT(controlGroupFolders({"/", "/m"}, "/a/b"), ElementsAre("/m/a/b", "/m/a", "/m"));
    EXPECT_THAT(controlGroupFolders({"/", "/m"}, "/"), ElementsAre("/m"));
    EXPECT_THAT(controlGroupFolders({"/pod", "/m"}, "/pod/x"), ElementsAre("/m/x", "/m"));
    EXPECT_THAT(controlGroupFolders({"/pod", "/m"}, "/pod"), ElementsAre("/m"));
    EXPECT_THAT(controlGroupFolders({"/pod", "/m"}, "/podium/x"), ElementsAre("/m")) << "outside of it";
    EXPECT_THAT(controlGroupFolders({"/", "/m"}, "/../../etc"), ElementsAre("/m")) << "beyond what is seen";
}

TEST(ControlGroups, AllowProcessorsByQuotaAndPeriod) {
    EXPECT_EQ(parseProcessorQuota("150000 100000\n"), 1.5);
    EXPECT_EQ(parseProcessorQuota("50000 100000"), 0.5);
    for (const char* text : {"", "max 100000", "-1 100000", "0 100000", "100000", "100000 0", "100000 -1", "x y",
                             "99999999999999999999 1"})
        EXPECT_EQ(parseProcessorQuota(text), std::nullopt) << text;
}

} // namespace
} // namespace sentrel::platform
