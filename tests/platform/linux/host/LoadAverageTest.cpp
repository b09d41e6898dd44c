// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/host/LoadAverage.h>

#include <gtest/gtest.h>

namespace sentrel::platform {
namespace {

TEST(LoadAverage, ReadsTheAveragesAndTheNumberOfThreads) {
    for (const char* text : {"0.10 3.03 120.01 1/94 8684\n", "0.10 3.03 120.01 1/94"}) {
        const auto line = parseLoadAverage(text);
        ASSERT_TRUE(line) << text;
        EXPECT_DOUBLE_EQ(line->averages[0], 0.10);
        EXPECT_DOUBLE_EQ(line->averages[1], 3.03);
        EXPECT_DOUBLE_EQ(line->averages[2], 120.01);
        EXPECT_EQ(line->threads, 94u);
    }
}

TEST(LoadAverage, RefusesATruncatedOrForeignLine) {
    for (const char* text :
         {"", "\n", "0.10", "0.10 0.03 0.01", "0.10 0.03 0.01 1", "0.10 0.03 0.01 1/", "0.10 0.03 0.01 1/x",
          "0.1 0.03 0.01 1/94", "0,10 0,03 0,01 1/94", "-0.10 0.03 0.01 1/94", "nan 0.03 0.01 1/94",
          "0. 10 0.03 0.01 1/9", "99999999999.10 0.03 0.01 1/94", "0.10 0.03 0.01 1/99999999999"})
        EXPECT_FALSE(parseLoadAverage(text)) << '"' << text << '"';
}

} // namespace
} // namespace sentrel::platform
