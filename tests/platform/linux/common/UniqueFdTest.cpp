// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/UniqueFd.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <utility>

namespace sentrel::platform {
namespace {

bool isOpen(int descriptor) {
    return ::fcntl(descriptor, F_GETFD) != -1;
}

int opened() {
    return ::open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(UniqueFd, ClosesItsDescriptorOnce) {
    const int descriptor = opened();
    {
        UniqueFd owner(descriptor);
        UniqueFd another(std::move(owner));
        EXPECT_TRUE(another);
        EXPECT_TRUE(isOpen(descriptor));
        owner = std::move(another);
        EXPECT_EQ(owner.get(), descriptor);
        EXPECT_FALSE(another); // NOLINT(bugprone-use-after-move): moved from is empty
    }
    EXPECT_FALSE(isOpen(descriptor));
}

TEST(UniqueFd, ClosesWhatItHeldBeforeAndGivesUpWhatItIsAskedFor) {
    const int first = opened();
    const int second = opened();
    UniqueFd owner(first);
    owner.reset(second);
    EXPECT_FALSE(isOpen(first));
    EXPECT_EQ(owner.release(), second);
    EXPECT_FALSE(owner);
    EXPECT_TRUE(isOpen(second));
    ::close(second);
}

} // namespace
} // namespace sentrel::platform
