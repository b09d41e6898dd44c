// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/DispatchQueue.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace sentrel {
namespace {

TEST(NanosecondsFromSeconds, TruncatesToWholeNanoseconds) {
    EXPECT_EQ(nanosecondsFromSeconds(1.1), 1'100'000'000);
    EXPECT_EQ(nanosecondsFromSeconds(0.5e-9), 0);
    EXPECT_EQ(nanosecondsFromSeconds(0), 0);
}

TEST(NanosecondsFromSeconds, HasADefinedAnswerForEveryDouble) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(nanosecondsFromSeconds(-1), 0);
    EXPECT_EQ(nanosecondsFromSeconds(std::nan("")), 0);
    EXPECT_EQ(nanosecondsFromSeconds(-INFINITY), 0);
    EXPECT_EQ(nanosecondsFromSeconds(INFINITY), most);
    EXPECT_EQ(nanosecondsFromSeconds(1e300), most);
}

} // namespace
} // namespace sentrel
