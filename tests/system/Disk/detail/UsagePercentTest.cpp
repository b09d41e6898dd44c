// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/system/Disk/detail/UsagePercent.h>

#include <gtest/gtest.h>
#include <limits>

namespace sentrel {
namespace {

TEST(UsagePercent, IsTruncatedAndKeepsItsLowBits) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    struct Case {
        std::int64_t used;
        std::int64_t total;
        int percent;
    };
    for (const auto& [used, total, percent] : {Case{0, 0, 0},
                                               {5, 0, 0},
                                               {1, 3, 33},
                                               {2, 3, 66},
                                               {999, 1000, 99},
                                               {3, 1, 300 - 256},
                                               {-1, 100, 255},
                                               {most, 1, 0},
                                               {most, most, 100}})
        EXPECT_EQ(truncatedPercent(used, total), percent) << used << " of " << total;
}

} // namespace
} // namespace sentrel
