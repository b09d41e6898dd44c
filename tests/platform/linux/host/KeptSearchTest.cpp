// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/KeptSearch.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(KeptSearch, IsDueAtFirstAndNotRightAfter) {
    KeptSearch search;
    EXPECT_TRUE(search.isDue());
    EXPECT_FALSE(search.isDue());
    EXPECT_FALSE(search.isDue());
    EXPECT_TRUE(KeptSearch().isDue());
}

} // namespace
} // namespace sentrel::platform
