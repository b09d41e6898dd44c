// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/WirelessQuery.h>

#include <SentrelKit/platform/linux/common/GLibOwners.h>
#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <glib.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>

namespace sentrel::platform {

namespace {

constexpr std::int64_t bitRateUnit = 100'000; // nl80211 counts in 100 kbit/s

constexpr std::int64_t megahertz = 1'000'000;

NetlinkRequest wirelessRequest(std::uint16_t family, std::uint8_t command, std::uint16_t flags) {
    NetlinkRequest request(family, flags);
    request.extra<genlmsghdr>().cmd = command;
    return request;
}

NetlinkRequest wirelessRequest(std::uint16_t family, std::uint8_t command, std::uint16_t flags, std::uint32_t index) {
    NetlinkRequest request = wirelessRequest(family, command, flags);
    mnl_attr_put_u32(&request.header(), NL80211_ATTR_IFINDEX, index);
    return request;
}

// The rate that a nest of NL80211_RATE_INFO holds.
std::int64_t rateIn(NetlinkBytes nest) {
    const NetlinkAttributes<NL80211_RATE_INFO_BITRATE32> rate(nest);
    const auto narrow = rate.value<std::uint16_t>(NL80211_RATE_INFO_BITRATE, 0);
    return std::int64_t{rate.value<std::uint32_t>(NL80211_RATE_INFO_BITRATE32, narrow)} * bitRateUnit;
}

// NL80211_CHAN_WIDTH as the kernel numbers it; absent for what is none of these.
std::optional<std::int64_t> widthOf(std::uint32_t number) noexcept {
    constexpr std::array<std::int64_t, 14> widths = {20, 20, 40, 80, 160, 160, 5, 10, 1, 2, 4, 8, 16, 320};
    if (number >= widths.size())
        return std::nullopt;
    return widths[number] * megahertz;
}

} // namespace

std::uint16_t parseGenericFamily(const nlmsghdr& message) {
    const NetlinkAttributes<CTRL_ATTR_FAMILY_ID> attributes(payloadOf(message), sizeof(genlmsghdr));
    return attributes.value<std::uint16_t>(CTRL_ATTR_FAMILY_ID, 0);
}

std::string parseNetworkName(const nlmsghdr& message) {
    const NetlinkAttributes<NL80211_ATTR_SSID> attributes(payloadOf(message), sizeof(genlmsghdr));
    const NetlinkBytes bytes = attributes.bytes(NL80211_ATTR_SSID);
    if (bytes.empty())
        return {};
    // A hidden network's name is a row of zero bytes; a name is a text up to the first of them.
    const auto* start = reinterpret_cast<const char*>(bytes.data());
    return TextPointer(g_utf8_make_valid(start, std::find(start, start + bytes.size(), '\0') - start)).get();
}

WirelessStation parseStation(const nlmsghdr& message) {
    const NetlinkAttributes<NL80211_ATTR_STA_INFO> attributes(payloadOf(message), sizeof(genlmsghdr));
    const NetlinkAttributes<NL80211_STA_INFO_RX_BITRATE> station(attributes.bytes(NL80211_ATTR_STA_INFO));
    WirelessStation result;
    if (station.bytes(NL80211_STA_INFO_SIGNAL).size() == sizeof(std::int8_t))
        result.signal = station.value<std::int8_t>(NL80211_STA_INFO_SIGNAL, 0);
    result.bitRateIn = rateIn(station.bytes(NL80211_STA_INFO_RX_BITRATE));
    result.bitRateOut = rateIn(station.bytes(NL80211_STA_INFO_TX_BITRATE));
    return result;
}

std::optional<WirelessInterface> parseWirelessInterface(const nlmsghdr& message) {
    const NetlinkAttributes<NL80211_ATTR_CHANNEL_WIDTH> attributes(payloadOf(message), sizeof(genlmsghdr));
    WirelessInterface interface;
    interface.index = attributes.value<std::uint32_t>(NL80211_ATTR_IFINDEX, 0);
    const std::string_view name = attributes.text(NL80211_ATTR_IFNAME);
    if (interface.index == 0 || name.empty())
        return std::nullopt;
    name.copy(interface.name.data(), interface.name.size() - 1);
    interface.isClient = attributes.value<std::uint32_t>(NL80211_ATTR_IFTYPE, 0) == NL80211_IFTYPE_STATION;
    if (const auto frequency = attributes.value<std::uint32_t>(NL80211_ATTR_WIPHY_FREQ, 0); frequency != 0)
        interface.frequency = frequency * megahertz;
    if (attributes.has(NL80211_ATTR_CHANNEL_WIDTH))
        interface.channelWidth = widthOf(attributes.value<std::uint32_t>(NL80211_ATTR_CHANNEL_WIDTH, UINT32_MAX));
    return interface;
}

bool WirelessQuery::findFamily() {
    NetlinkRequest request(GENL_ID_CTRL, NLM_F_ACK);
    request.extra<genlmsghdr>().cmd = CTRL_CMD_GETFAMILY;
    mnl_attr_put_strz(&request.header(), CTRL_ATTR_FAMILY_NAME, NL80211_GENL_NAME);
    return family_ != 0 ||
           (socket_.ask(
                request, [] {}, [this](const nlmsghdr& message) { family_ = parseGenericFamily(message); }) &&
            family_ != 0);
}

std::optional<std::string> WirelessQuery::networkName(std::uint32_t index) {
    if (!findFamily())
        return std::nullopt;
    NetlinkRequest request = wirelessRequest(family_, NL80211_CMD_GET_INTERFACE, NLM_F_ACK, index);
    std::string name;
    const bool wireless = socket_.ask(
        request, [&] { name.clear(); }, [&](const nlmsghdr& message) { name = parseNetworkName(message); });
    return wireless ? std::optional(std::move(name)) : std::nullopt;
}

bool WirelessQuery::listInterfaces(std::vector<WirelessInterface>& interfaces) {
    errno = ENOENT; // an answer that names no family sets none
    if (!findFamily())
        return false;
    NetlinkRequest request = wirelessRequest(family_, NL80211_CMD_GET_INTERFACE, NLM_F_DUMP);
    return socket_.ask(
        request, [&] { interfaces.clear(); },
        [&](const nlmsghdr& message) {
            if (const auto interface = parseWirelessInterface(message))
                interfaces.push_back(*interface);
        });
}

std::optional<WirelessStation> WirelessQuery::station(std::uint32_t index) {
    if (!findFamily())
        return std::nullopt;
    // A client knows one station, its access point; an access point knows many, and none of their rates is its own.
    NetlinkRequest request = wirelessRequest(family_, NL80211_CMD_GET_STATION, NLM_F_DUMP, index);
    struct {
        WirelessStation last;
        int count = 0;
    } known;
    const bool answered = socket_.ask(
        request, [&known] { known.count = 0; },
        [&known](const nlmsghdr& message) {
            known.last = parseStation(message);
            ++known.count;
        });
    return answered && known.count == 1 ? std::optional(known.last) : std::nullopt;
}

std::int64_t WirelessQuery::bitRate(std::uint32_t index) {
    const std::optional<WirelessStation> only = station(index);
    return only ? only->bitRateOut : 0;
}

} // namespace sentrel::platform
