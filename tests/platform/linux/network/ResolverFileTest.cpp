// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/ResolverFile.h>

#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(ResolverFile, ListsTheNameServersInTheirOrder) {
    EXPECT_THAT(parseNameServers("# made by hand\nsearch example.org\nnameserver 192.0.2.1\n"
                                 "nameserver\t2001:db8::53\nnameserver fe80::1%eth0 # local\noptions rotate"),
                ElementsAre("192.0.2.1", "2001:db8::53", "fe80::1%eth0"));
}

TEST(ResolverFile, PassesOverLinesThatNameNoServer) {
    EXPECT_THAT(parseNameServers("nameserver\nnameserver \nnameserver example.org\n nameserver 192.0.2.1\n"
                                 "nameserver192.0.2.2\n#nameserver 192.0.2.3\n;nameserver 192.0.2.4\nnameserver 1.2.3"),
                IsEmpty());
}

TEST(ResolverFile, ReadsALastLineWithoutAnEnd) {
    EXPECT_THAT(parseNameServers("nameserver 192.0.2.1"), ElementsAre("192.0.2.1"));
    EXPECT_THAT(parseNameServers("nameserver 192.0.2.1\r\n"), ElementsAre("192.0.2.1"));
    EXPECT_THAT(parseNameServers(std::string("nameserver 192.0.2.1\0x", 22)), IsEmpty());
}

TEST(ResolverFile, HasNoValueWithoutAServerOrAFile) {
    const TemporaryFolder folder;
    const SystemRoot root(folder.path());
    EXPECT_EQ(readNameServers(root), std::nullopt);
    folder.write("etc/resolv.conf", "search example.org\n");
    EXPECT_EQ(readNameServers(root), std::nullopt);
}

TEST(ResolverFile, NamesTheServersBehindTheLocalNameService) {
    const TemporaryFolder folder;
    const SystemRoot root(folder.path());
    folder.write("etc/resolv.conf", "nameserver 127.0.0.53\noptions edns0 trust-ad\n");
    EXPECT_THAT(readNameServers(root).value(), ElementsAre("127.0.0.53"));
    folder.write("run/systemd/resolve/resolv.conf", "nameserver 192.0.2.9\n");
    EXPECT_THAT(readNameServers(root).value(), ElementsAre("192.0.2.9"));
    folder.write("etc/resolv.conf", "nameserver 127.0.0.1\n");
    EXPECT_THAT(readNameServers(root).value(), ElementsAre("127.0.0.1"));
}

/// A watch on a folder of its own. Notices of inotify are there as soon as the change was made.
class ResolverFileWatched : public testing::Test {
protected:
    bool noticed() { return watch_.takeNotices(); }

    TemporaryFolder folder_;
    ResolverFileWatch watch_{SystemRoot(folder_.path())};
};

TEST_F(ResolverFileWatched, GivesNoticeWhenTheFileIsRewritten) {
    folder_.write("etc/resolv.conf", "nameserver 192.0.2.1\n");
    ASSERT_TRUE(watch_.open());
    EXPECT_FALSE(noticed());
    folder_.write("etc/resolv.conf", "nameserver 192.0.2.2\n");
    EXPECT_TRUE(noticed());
    EXPECT_FALSE(noticed());
    folder_.write("etc/hosts", "");
    EXPECT_FALSE(noticed()) << "another file of the folder";
}

TEST_F(ResolverFileWatched, GivesNoticeWhenTheFileIsReplacedAgainAndAgain) {
    folder_.write("etc/resolv.conf", "nameserver 192.0.2.1\n");
    ASSERT_TRUE(watch_.open());
    for (int round = 0; round < 3; ++round) {
        folder_.write("etc/resolv.conf.new", "nameserver 192.0.2.2\n");
        EXPECT_FALSE(noticed());
        std::filesystem::rename(folder_.path("etc/resolv.conf.new"), folder_.path("etc/resolv.conf"));
        EXPECT_TRUE(noticed());
        folder_.write("etc/resolv.conf", "nameserver 192.0.2.3\n");
        EXPECT_TRUE(noticed());
        noticed();
    }
    folder_.remove("etc/resolv.conf");
    EXPECT_TRUE(noticed());
    folder_.write("etc/resolv.conf", "nameserver 192.0.2.4\n");
    EXPECT_TRUE(noticed());
}

TEST_F(ResolverFileWatched, FollowsALinkAndItsTarget) {
    folder_.write("run/one/resolv.conf", "nameserver 192.0.2.1\n");
    folder_.write("run/two/resolv.conf", "nameserver 192.0.2.2\n");
    folder_.link("etc/resolv.conf", "../run/one/resolv.conf");
    ASSERT_TRUE(watch_.open());
    folder_.write("run/one/resolv.conf", "nameserver 192.0.2.3\n");
    EXPECT_TRUE(noticed());
    folder_.write("run/two/resolv.conf", "nameserver 192.0.2.4\n");
    EXPECT_FALSE(noticed());
    folder_.remove("etc/resolv.conf");
    folder_.link("etc/resolv.conf", folder_.path("run/two/resolv.conf"));
    EXPECT_TRUE(noticed());
    folder_.write("run/two/resolv.conf", "nameserver 192.0.2.5\n");
    EXPECT_TRUE(noticed());
}

TEST_F(ResolverFileWatched, GivesNoticeWhenTheTargetsFolderComes) {
    folder_.link("etc/resolv.conf", "../run/service/own/resolv.conf");
    ASSERT_TRUE(watch_.open());
    folder_.makeFolder("run");
    EXPECT_TRUE(noticed());
    folder_.makeFolder("run/service/own");
    EXPECT_TRUE(noticed());
    folder_.write("run/service/own/resolv.conf", "nameserver 192.0.2.1\n");
    EXPECT_TRUE(noticed());
    folder_.remove("run/service");
    EXPECT_TRUE(noticed());
    folder_.write("run/service/own/resolv.conf", "nameserver 192.0.2.1\n");
    EXPECT_TRUE(noticed());
    folder_.write("run/service/own/resolv.conf", "nameserver 192.0.2.2\n");
    EXPECT_TRUE(noticed());
}

TEST_F(ResolverFileWatched, SurvivesALinkToItself) {
    folder_.link("etc/resolv.conf", "resolv.conf");
    ASSERT_TRUE(watch_.open());
    folder_.remove("etc/resolv.conf");
    folder_.write("etc/resolv.conf", "nameserver 192.0.2.1\n");
    EXPECT_TRUE(noticed());
}

} // namespace
} // namespace sentrel::platform
