// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the kernel's wireless configuration (nl80211) tells about an interface.

#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include <optional>
#include <string>

namespace sentrel::platform {

class WirelessQuery {
public:
    /// The name of the network that the wireless interface of that index belongs to: empty if it belongs to none or
    /// the kernel does not tell. Absent if the interface is not wireless.
    [[nodiscard]] std::optional<std::string> networkName(std::uint32_t index);

    /// The rate at which the interface sends at this time, bits per second; 0 if it is not known.
    [[nodiscard]] std::int64_t bitRate(std::uint32_t index);

private:
    [[nodiscard]] bool findFamily();

    NetlinkSocket socket_{NETLINK_GENERIC};
    std::uint16_t family_ = 0; // 0 until the wireless family is known
};

/// The number of the generic netlink family in the answer to CTRL_CMD_GETFAMILY; 0 if there is none.
[[nodiscard]] std::uint16_t parseGenericFamily(const nlmsghdr& message);

/// The network name in the answer to NL80211_CMD_GET_INTERFACE as UTF-8, with the replacement character for bytes that
/// are none. Empty if there is none.
[[nodiscard]] std::string parseNetworkName(const nlmsghdr& message);

/// The sending rate in one message of the answer to NL80211_CMD_GET_STATION, bits per second; 0 if there is none.
[[nodiscard]] std::int64_t parseBitRate(const nlmsghdr& message);

} // namespace sentrel::platform
