// SPDX-License-Identifier: Apache-2.0
// Whatever a netlink socket may hand over: answers and notices of links, addresses, routes and wireless interfaces.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/network/DefaultRoute.h>
#include <SentrelKit/platform/linux/network/LinkCounters.h>
#include <SentrelKit/platform/linux/network/LinkTable.h>
#include <SentrelKit/platform/linux/network/NetlinkSocket.h>
#include <SentrelKit/platform/linux/network/WirelessQuery.h>

#include <cstddef>
#include <cstdint>
#include <glib.h>
#include <vector>

using namespace sentrel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<char> bytes(data, data + size); // aligned, with its end guarded
    LinkTable table;
    bool interrupted = false;
    static_cast<void>(readNetlinkAnswer(bytes.data(), bytes.size(), 1, interrupted, [&](const nlmsghdr& message) {
        table.addLink(message);
        table.addAddress(message);
        const auto route = parseDefaultRoute(message);
        SENTREL_ASSERT(!route || concernsDefaultRoute(message));
        static_cast<void>(parseGenericFamily(message));
        const std::string network = parseNetworkName(message);
        SENTREL_ASSERT(g_utf8_validate(network.c_str(), -1, nullptr));
        const WirelessStation station = parseStation(message);
        SENTREL_ASSERT(station.bitRateIn >= 0 && station.bitRateOut >= 0);
        const auto wireless = parseWirelessInterface(message);
        SENTREL_ASSERT(!wireless || (wireless->index != 0 && wireless->name.back() == '\0'));
        const auto counters = parseCounters(message);
        SENTREL_ASSERT(!counters || message.nlmsg_len > sizeof *counters);
    }));
    table.finish();
    for (std::uint32_t index = 0; index < 8; ++index) {
        const Link* link = table.find(index);
        if (!link)
            continue;
        SENTREL_ASSERT(link->name.back() == '\0' && link->hardwareLength <= link->hardware.size());
        for (const SocketAddress& address : table.addresses(*link))
            SENTREL_ASSERT(address.empty() || address.size() >= sizeof(sockaddr_in));
        sentrel::InterfaceLink facts;
        table.describe(*link, facts);
        SENTREL_ASSERT(facts.addresses.size() <= table.addresses(*link).size() && facts.mtu != 0U);
        for (const sentrel::InterfaceAddress& address : facts.addresses)
            SENTREL_ASSERT(address.prefixLength <= (address.isIPv6 ? 128 : 32) && !address.text().empty());
        SENTREL_ASSERT(table.find(link->name.data()));
    }
    return 0;
}
