// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/Owner.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

int released = 0;

int giveBack(int* handle) { // as some libraries' functions do, it answers
    released += *handle;
    return 0;
}

TEST(Owner, GivesAHandleBackOnce) {
    int handle = 1;
    released = 0;
    {
        Owner<int, giveBack> first(&handle);
        const Owner<int, giveBack> second = std::move(first);
        const Owner<int, giveBack> none;
        EXPECT_EQ(released, 0);
    }
    EXPECT_EQ(released, 1);
    static_assert(sizeof(Owner<int, giveBack>) == sizeof(int*));
}

} // namespace
} // namespace sentrel::platform
