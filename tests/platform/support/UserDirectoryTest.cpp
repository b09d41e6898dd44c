// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/support/UserDirectory.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(UserDirectory, NamesTheUserThatEverySystemHas) {
    std::string name = "before";
    EXPECT_EQ(findUserName(0, name), Availability::available);
    EXPECT_EQ(name, "root");
}

TEST(UserDirectory, HasNoNameForANumberOfNobody) {
    std::string name = "before";
    EXPECT_EQ(findUserName(4'294'967'290U, name), Availability::unsupported);
    EXPECT_EQ(name, "before");
}

} // namespace
} // namespace sentrel::platform
