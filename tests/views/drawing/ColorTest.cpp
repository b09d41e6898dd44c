// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIColor.h>
#include <SentrelKit/views/drawing/Color.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace sentrel {

static void PrintTo(const Color& color, std::ostream* stream) {
    *stream << color.red * 255 << ' ' << color.green * 255 << ' ' << color.blue * 255 << " / " << color.alpha;
}

TEST(Color, DividesComponentsBy255WithoutClamping) {
    EXPECT_EQ(Color::initWithR(52, 73, 94, 0.25), (Color{52 / 255.0, 73 / 255.0, 94 / 255.0, 0.25}));
    EXPECT_EQ(Color::initWithR(-255, 510, 0, 7.0), (Color{-1.0, 2.0, 0.0, 7.0}));
}

TEST(Color, ReadsHexNumbersUpToWhite) {
    EXPECT_EQ(Color::initWithHex(0xFFFFFF), FUIColor::white());
    EXPECT_EQ(Color::initWithHex(0x34495E), FUIColor::wetAsphalt());
    EXPECT_EQ(Color::initWithHex(0), FUIColor::black());
    EXPECT_EQ(Color::initWithHex(0x1000000), std::nullopt);
    EXPECT_EQ(Color::initWithHex(-1), std::nullopt);
    EXPECT_EQ(Color::initWithHex(std::numeric_limits<std::int64_t>::min()), std::nullopt);
}

TEST(Color, WidensTheSinglePrecisionAlphaOfHexColours) {
    EXPECT_EQ(Color::initWithHex(0, 0.1F)->alpha, static_cast<double>(0.1F));
    EXPECT_EQ(Color::initWithHexString("000", 0.1F)->alpha, static_cast<double>(0.1F));
}

TEST(Color, ReadsHexTextsOfThreeAndSixDigits) {
    for (const char* text : {"#fff", "fff", "#FFFFFF", "ffffff", "FfF"})
        EXPECT_EQ(Color::initWithHexString(text), FUIColor::white()) << text;
    EXPECT_EQ(Color::initWithHexString("#ABC"), Color::initWithR(0xAA, 0xBB, 0xCC, 1.0));
    EXPECT_EQ(Color::initWithHexString("2ecc71"), FUIColor::emerald());
}

TEST(Color, CountsASignAsACharacterOfAHexText) {
    EXPECT_EQ(Color::initWithHexString("+FF"), Color::initWithR(0, 0xFF, 0xFF, 1.0));
    // -1 has every bit set: two of its characters are digits, three are counted.
    EXPECT_EQ(Color::initWithHexString("-01"), Color::initWithR(0xFF, 0xFF, 0xFF, 1.0));
    EXPECT_EQ(Color::initWithHexString("+ABCDE"), Color::initWithR(0x0A, 0xBC, 0xDE, 1.0));
    EXPECT_EQ(Color::initWithHexString("+FFFFFF"), std::nullopt);
}

TEST(Color, RefusesEveryOtherText) {
    for (const char* text :
         {"", "#", "##fff", "#ffff", "#fffffff", "#GG0000", "ff", "f f", " fff", "0x1", "ffg", "-", "+", "#+",
          "\xC3\xA9"
          "f",
          "ff\xC3\xA9", "ffffffff", "fffffffffffffffff", "--1"})
        EXPECT_EQ(Color::initWithHexString(text), std::nullopt) << text;
    EXPECT_EQ(Color::initWithHexString(std::string_view("ff\0", 3)), std::nullopt);
}

TEST(Color, BlendsEveryComponentAndItsAlpha) {
    const Color blended = Color{0.0, 0.5, 1.0, 0.0}.blendedColor(0.25, {1.0, 0.5, 0.0, 1.0});
    EXPECT_EQ(blended, (Color{0.25, 0.5, 0.75, 0.25}));
    EXPECT_EQ(FUIColor::emerald().blendedColor(0.0, FUIColor::black()), FUIColor::emerald());
    EXPECT_EQ(FUIColor::emerald().blendedColor(1.0, FUIColor::black()), FUIColor::black());
}

TEST(Color, ComparesComponentsExactly) {
    EXPECT_NE(FUIColor::white(), FUIColor::white(0.5));
    EXPECT_EQ(FUIColor::white(0.5), FUIColor::white().withAlphaComponent(0.5));
    const Color unknown = FUIColor::white(std::numeric_limits<double>::quiet_NaN());
    EXPECT_NE(unknown, unknown);
}

} // namespace sentrel
