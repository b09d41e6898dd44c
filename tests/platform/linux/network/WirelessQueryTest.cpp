// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/WirelessQuery.h>

#include "tests/support/linux/NetlinkMessage.h"

#include <gtest/gtest.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>

namespace sentrel::platform {
namespace {

NetlinkMessage message() {
    return NetlinkMessage(0x1c, genlmsghdr{});
}

std::vector<std::uint8_t> bytes(const std::string& text) {
    return {text.begin(), text.end()};
}

TEST(WirelessQuery, ReadsTheFamilysNumber) {
    EXPECT_EQ(parseGenericFamily(message().add(CTRL_ATTR_FAMILY_ID, std::uint16_t{28}).get()), 28);
    EXPECT_EQ(parseGenericFamily(message().get()), 0);
    EXPECT_EQ(parseGenericFamily(message().add(CTRL_ATTR_FAMILY_ID, std::uint8_t{28}).get()), 0);
}

TEST(WirelessQuery, ReadsANetworksNameAsText) {
    struct Case {
        std::string raw;
        std::string name;
    };
    for (const Case& each : {Case{"Caf\xc3\xa9 net", "Caf\xc3\xa9 net"}, Case{"", ""}, Case{std::string(8, '\0'), ""},
                             Case{"a\xff z", "a\xef\xbf\xbd z"}, Case{std::string(32, 'x'), std::string(32, 'x')}})
        EXPECT_EQ(parseNetworkName(message().addBytes(NL80211_ATTR_SSID, bytes(each.raw)).get()), each.name);
    EXPECT_EQ(parseNetworkName(message().get()), "");
}

TEST(WirelessQuery, ReadsTheSendingRate) {
    const auto station = [](auto add) {
        NetlinkMessage whole = message();
        whole.begin(NL80211_ATTR_STA_INFO).begin(NL80211_STA_INFO_TX_BITRATE);
        add(whole);
        whole.end().end();
        return whole;
    };
    EXPECT_EQ(parseBitRate(
                  station([](NetlinkMessage& nest) { nest.add(NL80211_RATE_INFO_BITRATE, std::uint16_t{540}); }).get()),
              54'000'000);
    EXPECT_EQ(parseBitRate(station([](NetlinkMessage& nest) {
                               nest.add(NL80211_RATE_INFO_BITRATE32, std::uint32_t{12010});
                               nest.add(NL80211_RATE_INFO_BITRATE, std::uint16_t{0});
                           }).get()),
              1'201'000'000);
    EXPECT_EQ(parseBitRate(station([](NetlinkMessage&) {}).get()), 0);
    EXPECT_EQ(parseBitRate(message().get()), 0);
}

} // namespace
} // namespace sentrel::platform
