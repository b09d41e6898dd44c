// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinkCounters.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <gtest/gtest.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace sentrel::platform {
namespace {

NetlinkMessage message(const std::vector<std::uint8_t>& counters) {
    if_stats_msg header{};
    header.ifindex = 3;
    NetlinkMessage whole(RTM_NEWSTATS, header);
    return whole.addBytes(IFLA_STATS_LINK_64, counters);
}

std::vector<std::uint8_t> kernelRecord() {
    rtnl_link_stats64 record{};
    record.rx_packets = 1;
    record.tx_packets = 2;
    record.rx_bytes = 3;
    record.tx_bytes = 4;
    record.rx_errors = 5;
    record.tx_errors = 6;
    record.rx_dropped = 7;
    record.tx_dropped = 8;
    record.multicast = 9;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return {bytes, bytes + sizeof record};
}

TEST(LinkCounters, AreReadFromTheKernelsRecord) {
    const auto counters = parseCounters(message(kernelRecord()).get());
    ASSERT_TRUE(counters);
    EXPECT_EQ(counters->index, 3U);
    EXPECT_EQ(counters->packetsIn, 1);
    EXPECT_EQ(counters->packetsOut, 2);
    EXPECT_EQ(counters->bytesIn, 3);
    EXPECT_EQ(counters->bytesOut, 4);
    EXPECT_EQ(counters->errorsIn, 5);
    EXPECT_EQ(counters->errorsOut, 6);
    EXPECT_EQ(counters->dropsIn, 7);
    EXPECT_EQ(counters->dropsOut, 8);
}

TEST(LinkCounters, AreReadFromALongerRecordAndNotFromACutOne) {
    std::vector<std::uint8_t> record = kernelRecord();
    record.resize(400);
    EXPECT_TRUE(parseCounters(message(record).get()));
    record.resize(64);
    EXPECT_TRUE(parseCounters(message(record).get()));
    for (std::size_t size = 0; size < 64; ++size) {
        record.resize(size);
        EXPECT_FALSE(parseCounters(message(record).get())) << size;
    }
    EXPECT_FALSE(parseCounters(NetlinkMessage(RTM_NEWSTATS, std::uint16_t{0}).get()));
}

} // namespace
} // namespace sentrel::platform
