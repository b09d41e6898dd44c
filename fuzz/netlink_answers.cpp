// SPDX-License-Identifier: Apache-2.0
// Whatever a netlink socket may hand over: answers and notices of links, addresses, routes and wireless interfaces.

#include <SentrelKit/base/system/Assert.h>
#include <SentrelKit/platform/linux/network/DefaultRoute.h>
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
        SENTREL_ASSERT(parseBitRate(message) >= 0);
    }));
    table.finish();
    for (std::uint32_t index = 0; index < 8; ++index) {
        const Link* link = table.find(index);
        if (!link)
            continue;
        SENTREL_ASSERT(link->name.back() == '\0' && link->hardwareLength <= link->hardware.size());
        for (const SocketAddress& address : table.addresses(*link))
            SENTREL_ASSERT(address.empty() || address.size() >= sizeof(sockaddr_in));
        SENTREL_ASSERT(table.find(link->name.data()));
    }
    return 0;
}
