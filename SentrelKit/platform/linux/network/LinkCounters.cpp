// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/LinkCounters.h>

#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace sentrel::platform {

std::optional<LinkCounters> parseCounters(const nlmsghdr& message) noexcept {
    const auto* header = headerOf<if_stats_msg>(payloadOf(message));
    if (!header)
        return std::nullopt;
    const NetlinkAttributes<IFLA_STATS_LINK_64> attributes(payloadOf(message), sizeof(if_stats_msg));
    const NetlinkBytes bytes = attributes.bytes(IFLA_STATS_LINK_64);
    // rtnl_link_stats64 begins with these, and has grown at its end.
    std::array<std::int64_t, 8> fields{};
    static_assert(sizeof fields == offsetof(rtnl_link_stats64, multicast));
    if (bytes.size() < sizeof fields)
        return std::nullopt;
    std::memcpy(fields.data(), bytes.data(), sizeof fields);
    return LinkCounters{.index = header->ifindex,
                        .packetsIn = fields[0],
                        .packetsOut = fields[1],
                        .bytesIn = fields[2],
                        .bytesOut = fields[3],
                        .errorsIn = fields[4],
                        .errorsOut = fields[5],
                        .dropsIn = fields[6],
                        .dropsOut = fields[7]};
}

} // namespace sentrel::platform
