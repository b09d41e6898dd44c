// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/NumberFile.h>

#include "tests/support/Allocations.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

using Keeping = NumberFile::Keeping;

TEST(NumberFile, ReadsTheNumberThatStandsThereNow) {
    for (const Keeping keeping : {Keeping::open, Keeping::closed}) {
        const TemporaryFolder folder;
        folder.write("number", "-20150\n");
        NumberFile file(folder.path("number"), keeping);
        EXPECT_EQ(file.read(), -20150);
        folder.write("number", "9223372036854775807\n");
        EXPECT_EQ(file.read(), INT64_MAX);
        folder.write("number", "7"); // without the end of the line
        const std::size_t before = allocations();
        EXPECT_EQ(file.read(), 7);
        EXPECT_EQ(allocations(), before);
    }
}

TEST(NumberFile, TellsWhyThereIsNone) {
    const TemporaryFolder folder;
    NumberFile file(folder.path("number"));
    errno = 0;
    EXPECT_FALSE(file.read());
    EXPECT_EQ(errno, ENOENT);
    for (const std::string& text :
         {std::string(), std::string("\n"), std::string("12 V\n"), std::string("0x1f\n"), std::string("1.5\n"),
          std::string("9223372036854775808\n"), std::string(4096, '1'), std::string("1\0\n", 3)}) {
        folder.write("number", text);
        errno = 0;
        EXPECT_FALSE(file.read()) << text.size();
        EXPECT_EQ(errno, EINVAL);
    }
    folder.write("number", "3\n");
    EXPECT_EQ(file.read(), 3);
}

TEST(NumberFile, FindsTheFileThatTookTheNameOfOneThatFailed) {
    const TemporaryFolder folder;
    folder.makeFolder("number"); // a folder opens and does not read
    NumberFile file(folder.path("number"));
    errno = 0;
    EXPECT_FALSE(file.read());
    EXPECT_EQ(errno, EISDIR);
    folder.remove("number");
    folder.write("number", "5\n");
    EXPECT_EQ(file.read(), 5);
}

} // namespace
} // namespace sentrel::platform
