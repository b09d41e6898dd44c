// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/common/UdevMonitor.h>

#include <gtest/gtest.h>
#include <poll.h>

namespace sentrel::platform {
namespace {

TEST(UdevMonitor, HearsNothingWithoutASource) {
    UdevMonitor none;
    EXPECT_EQ(none.descriptor(), -1);
    EXPECT_FALSE(none.takeNotices());
    EXPECT_EQ(UdevMonitor("neither", "block").descriptor(), -1);
}

TEST(UdevMonitor, DoesNotWaitForNotices) {
    UdevMonitor monitor("kernel", "power_supply");
    ASSERT_GE(monitor.descriptor(), 0);
    pollfd readable{monitor.descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&readable, 1, 0), 0);
    EXPECT_FALSE(monitor.takeNotices());
}

} // namespace
} // namespace sentrel::platform
