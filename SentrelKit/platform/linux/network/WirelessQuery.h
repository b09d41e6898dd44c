// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What the kernel's wireless configuration (nl80211) tells about an interface.

#include <SentrelKit/platform/linux/network/NetlinkSocket.h>

#include <array>
#include <net/if.h>
#include <optional>
#include <string>
#include <vector>

namespace sentrel::platform {

/// A wireless interface as its driver has set it up.
struct WirelessInterface {
    std::uint32_t index = 0;
    bool isClient = false;                    ///< of a network, whether or not it belongs to one now
    std::array<char, IFNAMSIZ> name{};        ///< with its end
    std::optional<std::int64_t> frequency;    ///< hertz; absent while it is not tuned
    std::optional<std::int64_t> channelWidth; ///< hertz
};

/// What an interface knows of a station that it talks to.
struct WirelessStation {
    std::optional<std::int32_t> signal; ///< dBm
    std::int64_t bitRateIn = 0;         ///< bits per second; 0 if there is none
    std::int64_t bitRateOut = 0;        ///< bits per second; 0 if there is none
};

class WirelessQuery {
public:
    /// The name of the network that the wireless interface of that index belongs to: empty if it belongs to none or
    /// the kernel does not tell. Absent if the interface is not wireless.
    [[nodiscard]] std::optional<std::string> networkName(std::uint32_t index);

    /// The rate at which the interface sends at this time, bits per second; 0 if it is not known.
    [[nodiscard]] std::int64_t bitRate(std::uint32_t index);

    /// Makes the list that of the wireless interfaces, without what their stations tell. False, with errno set, if the
    /// kernel cannot be asked, as one without nl80211 (ENOENT).
    [[nodiscard]] bool listInterfaces(std::vector<WirelessInterface>& interfaces);

    /// The one station that the interface of that index knows, a client's access point; absent unless there is
    /// exactly one.
    [[nodiscard]] std::optional<WirelessStation> station(std::uint32_t index);

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

/// One message of the answer to NL80211_CMD_GET_STATION.
[[nodiscard]] WirelessStation parseStation(const nlmsghdr& message);

/// One message of the answer to NL80211_CMD_GET_INTERFACE; absent if it names no interface.
[[nodiscard]] std::optional<WirelessInterface> parseWirelessInterface(const nlmsghdr& message);

} // namespace sentrel::platform
