// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/WirelessQuery.h>

#include <SentrelKit/platform/linux/common/GLibOwners.h>
#include <SentrelKit/platform/linux/network/NetlinkAttributes.h>

#include <algorithm>
#include <glib.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>

namespace sentrel::platform {

namespace {

constexpr std::int64_t bitRateUnit = 100'000; // nl80211 counts in 100 kbit/s

NetlinkRequest wirelessRequest(std::uint16_t family, std::uint8_t command, std::uint16_t flags, std::uint32_t index) {
    NetlinkRequest request(family, flags);
    request.extra<genlmsghdr>().cmd = command;
    mnl_attr_put_u32(&request.header(), NL80211_ATTR_IFINDEX, index);
    return request;
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

std::int64_t parseBitRate(const nlmsghdr& message) {
    const NetlinkAttributes<NL80211_ATTR_STA_INFO> attributes(payloadOf(message), sizeof(genlmsghdr));
    const NetlinkAttributes<NL80211_STA_INFO_TX_BITRATE> station(attributes.bytes(NL80211_ATTR_STA_INFO));
    const NetlinkAttributes<NL80211_RATE_INFO_BITRATE32> rate(station.bytes(NL80211_STA_INFO_TX_BITRATE));
    const auto narrow = rate.value<std::uint16_t>(NL80211_RATE_INFO_BITRATE, 0);
    return std::int64_t{rate.value<std::uint32_t>(NL80211_RATE_INFO_BITRATE32, narrow)} * bitRateUnit;
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

std::int64_t WirelessQuery::bitRate(std::uint32_t index) {
    if (!findFamily())
        return 0;
    // A client knows one station, its access point; an access point knows many, and none of their rates is its own.
    NetlinkRequest request = wirelessRequest(family_, NL80211_CMD_GET_STATION, NLM_F_DUMP, index);
    std::int64_t rate = 0;
    int stations = 0;
    const bool answered = socket_.ask(
        request, [&] { stations = 0; },
        [&](const nlmsghdr& message) {
            rate = parseBitRate(message);
            ++stations;
        });
    return answered && stations == 1 ? rate : 0;
}

} // namespace sentrel::platform
