// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinkTable.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if_arp.h>

namespace sentrel::platform {
namespace {

NetlinkMessage link(int index, const std::string& name, unsigned short type = ARPHRD_ETHER) {
    ifinfomsg header{};
    header.ifi_index = index;
    header.ifi_type = type;
    header.ifi_flags = IFF_UP;
    NetlinkMessage message(RTM_NEWLINK, header);
    message.addText(IFLA_IFNAME, name).addBytes(IFLA_ADDRESS, {2, 1, 2, 3, 4, 5}).add(IFLA_CARRIER, std::uint8_t{1});
    return message;
}

NetlinkMessage address(std::uint32_t index, int family, const std::string& text, std::uint16_t type = IFA_ADDRESS) {
    ifaddrmsg header{};
    header.ifa_family = static_cast<std::uint8_t>(family);
    header.ifa_index = index;
    NetlinkMessage message(RTM_NEWADDR, header);
    std::vector<std::uint8_t> bytes(family == AF_INET ? 4 : 16);
    inet_pton(family, text.c_str(), bytes.data());
    message.addBytes(type, bytes);
    return message;
}

std::string textOf(const SocketAddress& bytes) {
    if (bytes.empty())
        return "none";
    std::array<char, INET6_ADDRSTRLEN> text{};
    const auto* v4 = reinterpret_cast<const sockaddr_in*>(bytes.data());
    const auto* v6 = reinterpret_cast<const sockaddr_in6*>(bytes.data());
    if (v4->sin_family == AF_INET)
        return inet_ntop(AF_INET, &v4->sin_addr, text.data(), text.size());
    return inet_ntop(AF_INET6, &v6->sin6_addr, text.data(), text.size()) + ("%" + std::to_string(v6->sin6_scope_id));
}

TEST(LinkTable, FindsAnInterfaceByItsIndexAndByItsName) {
    LinkTable table;
    table.addLink(link(9, "wan0").get());
    table.addLink(link(3, "lan1").get());
    table.addLink(link(1, "lo", ARPHRD_LOOPBACK).get());
    table.finish();
    ASSERT_TRUE(table.find(3U));
    EXPECT_STREQ(table.find(3U)->name.data(), "lan1");
    ASSERT_TRUE(table.find("wan0"));
    EXPECT_EQ(table.find("wan0")->index, 9U);
    EXPECT_EQ(table.find("lo")->linkType, 24);
    EXPECT_EQ(table.find("wan0")->linkType, InterfaceInfo::ethernetLinkType);
    EXPECT_FALSE(table.find(4U));
    EXPECT_FALSE(table.find("lan"));
}

TEST(LinkTable, GivesAnInterfaceItsAddressesInTheKernelsOrder) {
    LinkTable table;
    table.addLink(link(3, "lan1").get());
    table.addLink(link(4, "lan2").get());
    table.addAddress(address(4, AF_INET, "192.0.2.40").get());
    table.addAddress(address(3, AF_INET, "192.0.2.30").get());
    table.addAddress(address(3, AF_INET6, "2001:db8::3").get());
    table.addAddress(address(3, AF_INET6, "fe80::3").get());
    table.finish();
    const auto addresses = table.addresses(*table.find(3U));
    ASSERT_EQ(addresses.size(), 3U);
    EXPECT_EQ(textOf(addresses[0]), "192.0.2.30");
    EXPECT_EQ(textOf(addresses[1]), "2001:db8::3%0");
    EXPECT_EQ(textOf(addresses[2]), "fe80::3%3") << "a link-local address has its link for scope";
    EXPECT_EQ(table.addresses(*table.find(4U)).size(), 1U);
}

TEST(LinkTable, TakesTheLocalAddressOfAPointToPointLink) {
    LinkTable table;
    table.addLink(link(3, "lan1").get());
    NetlinkMessage both = address(3, AF_INET, "198.51.100.1");
    const in_addr local{inet_addr("192.0.2.7")};
    both.add(IFA_LOCAL, local);
    table.addAddress(both.get());
    table.finish();
    EXPECT_EQ(textOf(table.addresses(*table.find(3U))[0]), "192.0.2.7");
}

TEST(LinkTable, KeepsAnAddressMessageWithoutAnAddressItKnowsAsEmpty) {
    LinkTable table;
    table.addLink(link(3, "lan1").get());
    ifaddrmsg header{};
    header.ifa_family = AF_INET;
    header.ifa_index = 3;
    table.addAddress(NetlinkMessage(RTM_NEWADDR, header).get());
    table.addAddress(NetlinkMessage(RTM_NEWADDR, header).addBytes(IFA_LOCAL, {1, 2, 3}).get());
    table.finish();
    const auto addresses = table.addresses(*table.find(3U));
    ASSERT_EQ(addresses.size(), 2U);
    EXPECT_TRUE(addresses[0].empty());
    EXPECT_TRUE(addresses[1].empty());
}

InterfaceLink describe(const LinkTable& table, std::uint32_t index) {
    InterfaceLink facts;
    table.describe(*table.find(index), facts);
    return facts;
}

TEST(LinkTable, DescribesALink) {
    LinkTable table;
    table.addLink(link(3, "lan1").add(IFLA_OPERSTATE, std::uint8_t{6}).add(IFLA_MTU, std::uint32_t{1500}).get());
    ifaddrmsg header{};
    header.ifa_family = AF_INET6;
    header.ifa_index = 3;
    header.ifa_prefixlen = 10;
    header.ifa_scope = RT_SCOPE_LINK;
    std::vector<std::uint8_t> bytes(16);
    inet_pton(AF_INET6, "fe80::3", bytes.data());
    table.addAddress(NetlinkMessage(RTM_NEWADDR, header).addBytes(IFA_ADDRESS, bytes).get());
    table.finish();
    const InterfaceLink facts = describe(table, 3);
    EXPECT_EQ(facts.name, "lan1");
    EXPECT_EQ(facts.index, 3U);
    EXPECT_EQ(facts.kind, InterfaceKind::physical);
    EXPECT_EQ(facts.state, OperationalState::up);
    EXPECT_EQ(facts.mtu, 1500U);
    EXPECT_EQ(facts.mac(), "02:01:02:03:04:05");
    ASSERT_EQ(facts.addresses.size(), 1U);
    EXPECT_TRUE(facts.addresses[0].isIPv6);
    EXPECT_EQ(facts.addresses[0].text(), "fe80::3");
    EXPECT_EQ(facts.addresses[0].prefixLength, 10);
    EXPECT_EQ(facts.addresses[0].scope, AddressScope::link);
}

TEST(LinkTable, TellsTheKindOfALinkFromWhatTheKernelCallsIt) {
    struct Case {
        const char* made;
        unsigned short type;
        InterfaceKind kind;
    };
    for (const Case& each :
         {Case{"wireguard", ARPHRD_NONE, InterfaceKind::vpn}, Case{"tun", ARPHRD_NONE, InterfaceKind::vpn},
          Case{"tun", ARPHRD_ETHER, InterfaceKind::virtual_}, Case{"xfrm", ARPHRD_NONE, InterfaceKind::vpn},
          Case{"vti6", ARPHRD_TUNNEL6, InterfaceKind::vpn}, Case{"bridge", ARPHRD_ETHER, InterfaceKind::bridge},
          Case{"bond", ARPHRD_ETHER, InterfaceKind::virtual_}, Case{"vlan", ARPHRD_ETHER, InterfaceKind::virtual_},
          Case{"sit", ARPHRD_SIT, InterfaceKind::virtual_}}) {
        LinkTable table;
        NetlinkMessage message = link(3, "lan1", each.type);
        table.addLink(message.begin(IFLA_LINKINFO).addText(IFLA_INFO_KIND, each.made).end().get());
        table.finish();
        EXPECT_EQ(describe(table, 3).kind, each.kind) << each.made;
    }
}

TEST(LinkTable, WhatAMessageDoesNotTellOfALinkIsAbsent) {
    LinkTable table;
    ifinfomsg header{};
    header.ifi_index = 5;
    table.addLink(NetlinkMessage(RTM_NEWLINK, header).add(IFLA_OPERSTATE, std::uint8_t{7}).get());
    ifaddrmsg address{};
    address.ifa_family = AF_INET;
    address.ifa_index = 5;
    address.ifa_prefixlen = 200;
    table.addAddress(NetlinkMessage(RTM_NEWADDR, address).get());
    table.addAddress(NetlinkMessage(RTM_NEWADDR, address).addBytes(IFA_LOCAL, {192, 0, 2, 5}).get());
    table.finish();
    const InterfaceLink facts = describe(table, 5);
    EXPECT_EQ(facts.state, OperationalState::unknown) << "a state that is none";
    EXPECT_EQ(facts.mtu, std::nullopt);
    EXPECT_EQ(facts.mac(), "");
    ASSERT_EQ(facts.addresses.size(), 1U) << "one message held no address";
    EXPECT_EQ(facts.addresses[0].prefixLength, 32) << "no longer than the address";
}

TEST(LinkTable, SurvivesMessagesThatAreTooShortOrTooLong) {
    LinkTable table;
    table.addLink(NetlinkMessage(RTM_NEWLINK, std::uint32_t{0}).get());
    table.addAddress(NetlinkMessage(RTM_NEWADDR, std::uint16_t{0}).get());
    ifinfomsg header{};
    header.ifi_index = 5;
    table.addLink(NetlinkMessage(RTM_NEWLINK, header)
                      .addText(IFLA_IFNAME, std::string(200, 'n'))
                      .addBytes(IFLA_ADDRESS, std::vector<std::uint8_t>(200, 7))
                      .get());
    table.finish();
    ASSERT_TRUE(table.find(5U));
    EXPECT_STREQ(table.find(5U)->name.data(), std::string(IFNAMSIZ - 1, 'n').c_str());
    EXPECT_EQ(table.find(5U)->hardwareLength, 32);
    EXPECT_FALSE(table.find(5U)->carrierKnown);
}

} // namespace
} // namespace sentrel::platform
