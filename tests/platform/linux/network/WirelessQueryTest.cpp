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
    EXPECT_EQ(parseStation(
                  station([](NetlinkMessage& nest) { nest.add(NL80211_RATE_INFO_BITRATE, std::uint16_t{540}); }).get())
                  .bitRateOut,
              54'000'000);
    EXPECT_EQ(parseStation(station([](NetlinkMessage& nest) {
                               nest.add(NL80211_RATE_INFO_BITRATE32, std::uint32_t{12010});
                               nest.add(NL80211_RATE_INFO_BITRATE, std::uint16_t{0});
                           }).get())
                  .bitRateOut,
              1'201'000'000);
    EXPECT_EQ(parseStation(station([](NetlinkMessage&) {}).get()).bitRateOut, 0);
    EXPECT_EQ(parseStation(message().get()).bitRateOut, 0);
}

TEST(WirelessQuery, ReadsTheSignalAndBothRatesOfAStation) {
    NetlinkMessage whole = message();
    whole.begin(NL80211_ATTR_STA_INFO).add(NL80211_STA_INFO_SIGNAL, std::int8_t{-57});
    whole.begin(NL80211_STA_INFO_TX_BITRATE).add(NL80211_RATE_INFO_BITRATE, std::uint16_t{8667}).end();
    whole.begin(NL80211_STA_INFO_RX_BITRATE).add(NL80211_RATE_INFO_BITRATE, std::uint16_t{7800}).end().end();
    const WirelessStation station = parseStation(whole.get());
    EXPECT_EQ(station.signal, -57);
    EXPECT_EQ(station.bitRateIn, 780'000'000);
    EXPECT_EQ(station.bitRateOut, 866'700'000);
}

TEST(WirelessQuery, AStationThatSaysNothingOfItsSignalHasNone) {
    EXPECT_EQ(parseStation(message().get()).signal, std::nullopt);
    NetlinkMessage wide = message();
    wide.begin(NL80211_ATTR_STA_INFO).add(NL80211_STA_INFO_SIGNAL, std::int32_t{-57}).end();
    EXPECT_EQ(parseStation(wide.get()).signal, std::nullopt);
}

TEST(WirelessQuery, ReadsHowAnInterfaceIsSetUp) {
    NetlinkMessage whole = message();
    whole.add(NL80211_ATTR_IFINDEX, std::uint32_t{3}).addText(NL80211_ATTR_IFNAME, "wlan0");
    whole.add(NL80211_ATTR_IFTYPE, std::uint32_t{NL80211_IFTYPE_STATION});
    whole.add(NL80211_ATTR_WIPHY_FREQ, std::uint32_t{5180});
    whole.add(NL80211_ATTR_CHANNEL_WIDTH, std::uint32_t{NL80211_CHAN_WIDTH_80});
    const auto interface = parseWirelessInterface(whole.get());
    ASSERT_TRUE(interface);
    EXPECT_EQ(interface->index, 3U);
    EXPECT_STREQ(interface->name.data(), "wlan0");
    EXPECT_TRUE(interface->isClient);
    EXPECT_EQ(interface->frequency, 5'180'000'000);
    EXPECT_EQ(interface->channelWidth, 80'000'000);
}

TEST(WirelessQuery, ReadsEveryWidthThatAChannelMayHave) {
    const auto width = [](std::uint32_t number) {
        return parseWirelessInterface(message()
                                          .add(NL80211_ATTR_IFINDEX, std::uint32_t{3})
                                          .addText(NL80211_ATTR_IFNAME, "wlan0")
                                          .add(NL80211_ATTR_CHANNEL_WIDTH, number)
                                          .get())
            ->channelWidth;
    };
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_20_NOHT), 20'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_20), 20'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_40), 40'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_80P80), 160'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_160), 160'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_5), 5'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_10), 10'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_1), 1'000'000);
    EXPECT_EQ(width(NL80211_CHAN_WIDTH_16), 16'000'000);
    EXPECT_EQ(width(13), 320'000'000);
    EXPECT_EQ(width(14), std::nullopt);
    EXPECT_EQ(width(UINT32_MAX), std::nullopt);
}

TEST(WirelessQuery, AnInterfaceThatIsNotTunedHasNoFrequencyAndOneWithoutANumberIsNone) {
    NetlinkMessage idle = message();
    idle.add(NL80211_ATTR_IFINDEX, std::uint32_t{3}).addText(NL80211_ATTR_IFNAME, std::string(200, 'w'));
    const auto interface = parseWirelessInterface(idle.get());
    ASSERT_TRUE(interface);
    EXPECT_EQ(std::string(interface->name.data()), std::string(15, 'w'));
    EXPECT_FALSE(interface->isClient);
    EXPECT_EQ(interface->frequency, std::nullopt);
    EXPECT_EQ(interface->channelWidth, std::nullopt);
    EXPECT_FALSE(parseWirelessInterface(message().addText(NL80211_ATTR_IFNAME, "wlan0").get()));
    EXPECT_FALSE(parseWirelessInterface(message().add(NL80211_ATTR_IFINDEX, std::uint32_t{3}).get()));
    EXPECT_FALSE(parseWirelessInterface(message().get()));
}

} // namespace
} // namespace sentrel::platform
