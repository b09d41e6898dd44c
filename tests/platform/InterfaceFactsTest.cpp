// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/InterfaceFacts.h>

#include <gtest/gtest.h>

namespace sentrel {
namespace {

TEST(InterfaceFacts, WriteAnAddressInNumbers) {
    EXPECT_EQ((InterfaceAddress{.bytes = {192, 0, 2, 4}, .prefixLength = 24}.text()), "192.0.2.4");
    EXPECT_EQ(
        (InterfaceAddress{.isIPv6 = true, .bytes = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}}.text()),
        "fe80::7");
    EXPECT_EQ((InterfaceAddress{.isIPv6 = true}.text()), "::");
}

TEST(InterfaceFacts, WriteAHardwareAddressInTwoDigitsEach) {
    InterfaceLink link;
    EXPECT_EQ(link.mac(), "");
    link.hardware = {0x00, 0x1b, 0x63, 0x84, 0x45, 0xe6};
    EXPECT_EQ(link.mac(), "00:1b:63:84:45:e6");
}

TEST(InterfaceFacts, NumberTheChannelsOfEveryBand) {
    const auto channel = [](std::int64_t megahertz) {
        WirelessLink link;
        link.frequency = megahertz * 1'000'000;
        return link.channel();
    };
    EXPECT_EQ(channel(2412), 1);
    EXPECT_EQ(channel(2472), 13);
    EXPECT_EQ(channel(2484), 14);
    EXPECT_EQ(channel(4920), 184);
    EXPECT_EQ(channel(5180), 36);
    EXPECT_EQ(channel(5885), 177);
    EXPECT_EQ(channel(5935), 2);
    EXPECT_EQ(channel(5955), 1);
    EXPECT_EQ(channel(7115), 233);
    EXPECT_EQ(channel(58320), 1);
    EXPECT_EQ(channel(64800), 4);
}

TEST(InterfaceFacts, GiveAFrequencyBetweenChannelsNoNumber) {
    for (const std::int64_t hertz :
         {std::int64_t{0}, std::int64_t{-5'180'000'000}, std::int64_t{2'413'000'000}, std::int64_t{2'482'000'000},
          std::int64_t{5'000'000'000}, std::int64_t{5'180'500'000}, std::int64_t{9'223'372'036'000'000'000}}) {
        WirelessLink link;
        link.frequency = hertz;
        EXPECT_EQ(link.channel(), std::nullopt) << hertz;
    }
    EXPECT_EQ(WirelessLink().channel(), std::nullopt);
}

} // namespace
} // namespace sentrel
