// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/DefaultRoute.h>

#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <arpa/inet.h>
#include <array>
#include <linux/rtnetlink.h>
#include <netinet/in.h>

namespace sentrel::platform {

namespace {

// A route whose link is gone or has no carrier.
constexpr unsigned unusable = RTNH_F_DEAD | RTNH_F_LINKDOWN;

std::string addressText(int family, NetlinkBytes bytes) {
    const std::size_t length = family == AF_INET ? sizeof(in_addr) : sizeof(in6_addr);
    std::array<char, INET6_ADDRSTRLEN> text{};
    if ((family != AF_INET && family != AF_INET6) || bytes.size() != length ||
        !inet_ntop(family, bytes.data(), text.data(), text.size()))
        return {};
    return text.data();
}

// RTA_VIA: a router of another family than the route.
std::string routerOf(int family, const NetlinkAttributes<RTA_VIA>& attributes) {
    if (attributes.has(RTA_GATEWAY))
        return addressText(family, attributes.bytes(RTA_GATEWAY));
    const NetlinkBytes via = attributes.bytes(RTA_VIA);
    const auto* header = headerOf<rtvia>(via);
    return header ? addressText(header->rtvia_family, via.subspan(sizeof(rtvia))) : std::string();
}

// RTA_MULTIPATH: several ways for one route. The first that is usable stands for it.
bool takeFirstHop(int family, NetlinkBytes hops, DefaultRoute& route) {
    while (const auto* hop = headerOf<rtnexthop>(hops)) {
        if (hop->rtnh_len < sizeof(rtnexthop) || hop->rtnh_len > hops.size())
            return false;
        if ((hop->rtnh_flags & unusable) == 0) {
            route.interface = static_cast<std::uint32_t>(hop->rtnh_ifindex);
            route.router = routerOf(family, NetlinkAttributes<RTA_VIA>(hops.first(hop->rtnh_len), sizeof(rtnexthop)));
            return true;
        }
        const std::size_t step = RTNH_ALIGN(hop->rtnh_len);
        hops = step < hops.size() ? hops.subspan(step) : NetlinkBytes();
    }
    return false;
}

} // namespace

bool concernsDefaultRoute(const nlmsghdr& message) noexcept {
    const auto* header = headerOf<rtmsg>(payloadOf(message));
    return (message.nlmsg_type == RTM_NEWROUTE || message.nlmsg_type == RTM_DELROUTE) && header &&
           header->rtm_dst_len == 0 && header->rtm_type == RTN_UNICAST;
}

std::optional<DefaultRoute> parseDefaultRoute(const nlmsghdr& message) {
    if (message.nlmsg_type != RTM_NEWROUTE || !concernsDefaultRoute(message))
        return std::nullopt;
    const auto* header = headerOf<rtmsg>(payloadOf(message));
    const NetlinkAttributes<RTA_VIA> attributes(payloadOf(message), sizeof(rtmsg));
    if (attributes.value<std::uint32_t>(RTA_TABLE, header->rtm_table) != RT_TABLE_MAIN ||
        (header->rtm_flags & (unusable | RTM_F_CLONED)) != 0)
        return std::nullopt;
    DefaultRoute route;
    route.metric = attributes.value<std::uint32_t>(RTA_PRIORITY, 0);
    if (attributes.has(RTA_MULTIPATH)) {
        if (!takeFirstHop(header->rtm_family, attributes.bytes(RTA_MULTIPATH), route))
            return std::nullopt;
        return route;
    }
    route.interface = attributes.value<std::uint32_t>(RTA_OIF, 0);
    route.router = routerOf(header->rtm_family, attributes);
    return route.interface == 0 ? std::nullopt : std::optional(route);
}

bool readDefaultRoute(NetlinkSocket& socket, unsigned char family, std::optional<DefaultRoute>& route) {
    NetlinkRequest request(RTM_GETROUTE, NLM_F_DUMP);
    request.extra<rtmsg>().rtm_family = family;
    return socket.ask(
        request, [&] { route.reset(); },
        [&](const nlmsghdr& message) {
            std::optional<DefaultRoute> candidate = parseDefaultRoute(message);
            if (candidate && (!route || candidate->metric < route->metric))
                route = std::move(candidate);
        });
}

} // namespace sentrel::platform
