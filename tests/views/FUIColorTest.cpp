// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIColor.h>

#include <gtest/gtest.h>
#include <iterator>

namespace sentrel {
namespace {

struct NamedColor {
    const char* name;
    Color (*color)(double) noexcept;
    const char* hex;
};

TEST(FUIColor, HasTheTwentyTwoNamedColours) {
    const NamedColor table[] = {
        {"wetAsphalt", FUIColor::wetAsphalt, "#34495E"}, {"turquoise", FUIColor::turquoise, "#1ABC9C"},
        {"emerald", FUIColor::emerald, "#2ECC71"},       {"sunflower", FUIColor::sunflower, "#F1C40F"},
        {"alizarin", FUIColor::alizarin, "#E74C3C"},     {"peterRiver", FUIColor::peterRiver, "#3498DB"},
        {"white", FUIColor::white, "#FFFFFF"},           {"black", FUIColor::black, "#000000"},
        {"greenSea", FUIColor::greenSea, "#16A085"},     {"nephritis", FUIColor::nephritis, "#27AE60"},
        {"belizeHole", FUIColor::belizeHole, "#2980B9"}, {"amethyst", FUIColor::amethyst, "#9B59B6"},
        {"wisteria", FUIColor::wisteria, "#8E44AD"},     {"midnightBlue", FUIColor::midnightBlue, "#2C3E50"},
        {"orange", FUIColor::orange, "#F39C12"},         {"carrot", FUIColor::carrot, "#E67E22"},
        {"pumpkin", FUIColor::pumpkin, "#D35400"},       {"pomegranate", FUIColor::pomegranate, "#C0392B"},
        {"clouds", FUIColor::clouds, "#ECF0F1"},         {"silver", FUIColor::silver, "#BDC3C7"},
        {"concrete", FUIColor::concrete, "#95A5A6"},     {"asbestos", FUIColor::asbestos, "#7F8C8D"}};
    static_assert(std::size(table) == 22);
    for (const NamedColor& named : table) {
        EXPECT_EQ(named.color(1.0), Color::initWithHexString(named.hex)) << named.name;
        EXPECT_EQ(named.color(0.5), named.color(1.0).withAlphaComponent(0.5)) << named.name;
    }
    EXPECT_EQ(FUIColor::emerald().alpha, 1.0);
    EXPECT_EQ(FUIColor::asbestos().alpha, 1.0);
}

TEST(FUIColor, HasTheSevenColoursByMeaning) {
    EXPECT_EQ(FUIColor::brandPrimary(), FUIColor::wetAsphalt());
    EXPECT_EQ(FUIColor::brandSecondary(), FUIColor::turquoise());
    EXPECT_EQ(FUIColor::brandSuccess(), FUIColor::emerald());
    EXPECT_EQ(FUIColor::brandWarning(), FUIColor::sunflower());
    EXPECT_EQ(FUIColor::brandDanger(), FUIColor::alizarin());
    EXPECT_EQ(FUIColor::brandInfo(), FUIColor::peterRiver());
    EXPECT_EQ(FUIColor::transparent(), (Color{1.0, 1.0, 1.0, 0.0}));
}

} // namespace
} // namespace sentrel
