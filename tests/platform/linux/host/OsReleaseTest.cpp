// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/OsRelease.h>

#include "tests/support/Fixtures.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

OperatingSystem parsed(std::string_view content) {
    OperatingSystem system;
    parseOsRelease(content, system);
    return system;
}

TEST(OsRelease, NamesTheSystemOfALaptop) {
    EXPECT_EQ(readOperatingSystem(SystemRoot(fixturePath("host/laptop"))),
              (OperatingSystem{.name = "Debian GNU/Linux",
                               .prettyName = "Debian GNU/Linux 12 (bookworm)",
                               .id = "debian",
                               .version = "12",
                               .kernel = "Linux",
                               .kernelRelease = "6.1.0-18-amd64",
                               .architecture = "x86_64",
                               .hostName = "laptop"}));
}

TEST(OsRelease, IsTakenFromItsSecondPlaceAndHasItsNameForPeopleWithoutOne) {
    const auto server = readOperatingSystem(SystemRoot(fixturePath("host/server")));
    ASSERT_TRUE(server);
    EXPECT_EQ(server->name, "Example Enterprise Linux");
    EXPECT_EQ(server->prettyName, "Example Enterprise Linux");
    EXPECT_EQ(server->version, "9.4");
    EXPECT_EQ(server->architecture, "") << "an older kernel does not say";
}

TEST(OsRelease, IsQuotedAsAShellHasIt) {
    EXPECT_EQ(parsed("NAME=\"A \\\"B\\\" \\$C\"").name, "A \"B\" $C");
    EXPECT_EQ(parsed("NAME='A \\ B'").name, "A \\ B");
    EXPECT_EQ(parsed("NAME=A\\ B \n").name, "A B");
    EXPECT_EQ(parsed("NAME=\"open").name, "open");
    EXPECT_EQ(parsed("NAME=\"a\" # not this").name, "a");
    EXPECT_EQ(parsed("NAME=").name, "");
    EXPECT_EQ(parsed("NAME=\\").name, "\\");
}

TEST(OsRelease, WithoutNamesIsLinux) {
    for (const char* text : {"", "\n\n", "# NAME=x", "NAME", "XNAME=x\n"}) {
        EXPECT_EQ(parsed(text).name, "Linux") << text;
        EXPECT_EQ(parsed(text).id, "linux") << text;
        EXPECT_EQ(parsed(text).version, "") << text;
    }
}

TEST(OsRelease, WithoutAKernelIsNone) {
    const TemporaryFolder folder;
    folder.write("etc/os-release", "ID=debian\n");
    EXPECT_EQ(readOperatingSystem(SystemRoot(folder.path())), std::nullopt);
}

} // namespace
} // namespace sentrel::platform
