// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/DefaultRoute.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/rtnetlink.h>

namespace sentrel::platform {
namespace {

rtmsg header(unsigned char destinationBits = 0) {
    rtmsg route{};
    route.rtm_family = AF_INET;
    route.rtm_dst_len = destinationBits;
    route.rtm_table = RT_TABLE_MAIN;
    route.rtm_type = RTN_UNICAST;
    return route;
}

std::uint32_t v4(const char* text) {
    return inet_addr(text);
}

NetlinkMessage route(const rtmsg& start, const char* router = "192.0.2.1") {
    NetlinkMessage message(RTM_NEWROUTE, start);
    message.add(RTA_GATEWAY, v4(router)).add(RTA_OIF, std::uint32_t{7}).add(RTA_PRIORITY, std::uint32_t{100});
    return message;
}

TEST(DefaultRoute, IsReadWithItsRouterInterfaceAndMetric) {
    const auto found = parseDefaultRoute(route(header()).get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->router, "192.0.2.1");
    EXPECT_EQ(found->interface, 7U);
    EXPECT_EQ(found->metric, 100U);
}

TEST(DefaultRoute, IsNoOtherRoute) {
    EXPECT_FALSE(parseDefaultRoute(route(header(24)).get()));
    rtmsg local = header();
    local.rtm_table = RT_TABLE_LOCAL;
    EXPECT_FALSE(parseDefaultRoute(route(local).get()));
    rtmsg unreachable = header();
    unreachable.rtm_type = RTN_UNREACHABLE;
    EXPECT_FALSE(parseDefaultRoute(route(unreachable).get()));
    rtmsg cached = header();
    cached.rtm_flags = RTM_F_CLONED;
    EXPECT_FALSE(parseDefaultRoute(route(cached).get()));
}

TEST(DefaultRoute, IsNoneOverALinkWithoutCarrier) {
    rtmsg down = header();
    down.rtm_flags = RTNH_F_LINKDOWN;
    EXPECT_FALSE(parseDefaultRoute(route(down).get()));
}

TEST(DefaultRoute, HasNoRouterOnALinkThatNeedsNone) {
    const auto found = parseDefaultRoute(NetlinkMessage(RTM_NEWROUTE, header()).add(RTA_OIF, std::uint32_t{4}).get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->router, "");
}

TEST(DefaultRoute, TakesTheFirstUsableWayOfSeveral) {
    struct Hop {
        rtnexthop head;
        nlattr attribute;
        std::uint32_t router;
    };
    const auto hop = [](unsigned char flags, int interface, const char* router) {
        Hop one{};
        one.head.rtnh_len = sizeof(Hop);
        one.head.rtnh_flags = flags;
        one.head.rtnh_ifindex = interface;
        one.attribute = {sizeof(nlattr) + 4, RTA_GATEWAY};
        one.router = v4(router);
        return one;
    };
    const std::array hops{hop(RTNH_F_DEAD, 3, "192.0.2.3"), hop(0, 4, "192.0.2.4"), hop(0, 5, "192.0.2.5")};
    const auto found = parseDefaultRoute(NetlinkMessage(RTM_NEWROUTE, header()).add(RTA_MULTIPATH, hops).get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->router, "192.0.2.4");
    EXPECT_EQ(found->interface, 4U);
}

TEST(DefaultRoute, CanHaveARouterOfTheOtherFamily) {
    struct Via {
        std::uint16_t family = AF_INET6;
        std::array<std::uint8_t, 16> bytes{};
    } via;
    inet_pton(AF_INET6, "fe80::1", via.bytes.data());
    const auto found = parseDefaultRoute(
        NetlinkMessage(RTM_NEWROUTE, header()).add(RTA_OIF, std::uint32_t{4}).add(RTA_VIA, via).get());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->router, "fe80::1");
}

TEST(DefaultRoute, IsNotReadFromBrokenMessages) {
    EXPECT_FALSE(parseDefaultRoute(NetlinkMessage(RTM_NEWROUTE, std::uint32_t{0}).get()));
    EXPECT_FALSE(parseDefaultRoute(NetlinkMessage(RTM_NEWROUTE, header()).get())) << "it leads nowhere";
    for (const unsigned length : {0U, 3U, 200U}) {
        rtnexthop hop{};
        hop.rtnh_len = static_cast<unsigned short>(length);
        EXPECT_FALSE(parseDefaultRoute(NetlinkMessage(RTM_NEWROUTE, header()).add(RTA_MULTIPATH, hop).get())) << length;
    }
    const auto odd = parseDefaultRoute(
        NetlinkMessage(RTM_NEWROUTE, header()).add(RTA_OIF, std::uint32_t{4}).addBytes(RTA_GATEWAY, {1, 2}).get());
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->router, "");
}

} // namespace
} // namespace sentrel::platform
