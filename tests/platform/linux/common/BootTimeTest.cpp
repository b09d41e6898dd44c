// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/BootTime.h>

#include <gtest/gtest.h>
#include <string>

namespace sentrel::platform {
namespace {

TEST(BootTime, IsFoundBehindALongLineOfInterrupts) {
    std::string text = "cpu  1 2 3 4\nintr 5";
    for (int i = 0; i < 200'000; ++i)
        text += " 0";
    EXPECT_EQ(parseBootTime(text + "\nctxt 9\nbtime 1795246600\nprocesses 1\n"), 1795246600);
    EXPECT_EQ(parseBootTime("btime 12"), 12);
    EXPECT_FALSE(parseBootTime(text));
    EXPECT_FALSE(parseBootTime("btime \n"));
    EXPECT_FALSE(parseBootTime("btime 99999999999999999999\n"));
    EXPECT_FALSE(parseBootTime(""));
}

} // namespace
} // namespace sentrel::platform
