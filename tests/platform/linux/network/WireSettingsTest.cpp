// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/platform/linux/network/WireSettings.h>

#include <gtest/gtest.h>
#include <linux/ethtool.h>

namespace sentrel::platform {
namespace {

WireSettings settings(std::uint32_t megabits, std::uint8_t duplex) {
    ethtool_cmd command{};
    ethtool_cmd_speed_set(&command, megabits);
    command.duplex = duplex;
    return meaningOf(command);
}

TEST(WireSettings, AreSpeedAndDuplex) {
    EXPECT_EQ(settings(1000, DUPLEX_FULL).speed, 1'000'000'000);
    EXPECT_EQ(settings(1000, DUPLEX_FULL).duplex, Duplex::full);
    EXPECT_EQ(settings(10, DUPLEX_HALF).duplex, Duplex::half);
    EXPECT_EQ(settings(400'000, DUPLEX_FULL).speed, 400'000'000'000) << "more than 16 bits";
}

TEST(WireSettings, OfAWireWithoutAPartnerAreAbsent) {
    EXPECT_EQ(settings(static_cast<std::uint32_t>(SPEED_UNKNOWN), DUPLEX_UNKNOWN).speed, std::nullopt);
    EXPECT_EQ(settings(0xFFFF, DUPLEX_UNKNOWN).speed, std::nullopt) << "as older drivers say it";
    EXPECT_EQ(settings(0, DUPLEX_UNKNOWN).speed, std::nullopt);
    EXPECT_EQ(settings(0, DUPLEX_UNKNOWN).duplex, std::nullopt);
}

TEST(WireSettings, OfWhatIsNoInterfaceAreAbsent) {
    WireQuery query;
    EXPECT_EQ(query.settings("nosuch7").speed, std::nullopt);
    EXPECT_EQ(query.settings("").duplex, std::nullopt);
}

} // namespace
} // namespace sentrel::platform
