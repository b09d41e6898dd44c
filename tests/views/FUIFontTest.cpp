// SPDX-License-Identifier: Apache-2.0
#include <SentrelKit/views/FUIFont.h>

#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace sentrel {

namespace {

TEST(FUIFont, FindsEachLatoFaceByItsExactName) {
    const std::pair<std::optional<Font> (*)(double), const char*> faces[] = {{FUIFont::normal, "Lato-Regular"},
                                                                             {FUIFont::light, "Lato-Light"},
                                                                             {FUIFont::bold, "Lato-Bold"},
                                                                             {FUIFont::italic, "Lato-Italic"},
                                                                             {FUIFont::black, "Lato-Black"}};
    for (const auto& [make, name] : faces) {
        const std::optional<Font> font = make(12.5);
        ASSERT_TRUE(font) << name;
        EXPECT_EQ(font->name(), name);
        EXPECT_EQ(font->size(), 12.5);
    }
}

TEST(FUIFont, SetsTheFiveFacesDifferently) {
    const Size regular = textSize("Sentrel 42%", *FUIFont::normal(40));
    for (const auto make : {FUIFont::light, FUIFont::bold, FUIFont::italic, FUIFont::black})
        EXPECT_NE(textSize("Sentrel 42%", *make(40)).width, regular.width);
}

TEST(FUIFont, PutsNothingInThePlaceOfAMissingFace) {
    EXPECT_EQ(Font::withName("Lato-Nonexistent", 12), std::nullopt);
    EXPECT_EQ(Font::withName("lato-regular", 12), std::nullopt); // another spelling is another name
    EXPECT_EQ(Font::withName("", 12), std::nullopt);
}

// A face of another name, made of an installed one: the names of a font file stand in it as ASCII and as UTF-16.
std::string renamedFace(std::string font) {
    for (const auto& [from, to] : {std::pair{std::string("Lato"), std::string("Teto")},
                                   {std::string("\0L\0a\0t\0o", 8), std::string("\0T\0e\0t\0o", 8)}})
        for (std::size_t at = font.find(from); at != std::string::npos; at = font.find(from, at + from.size()))
            font.replace(at, from.size(), to);
    return font;
}

TEST(FUIFont, FindsTheFacesOfARegisteredFile) {
    std::ifstream installed("/usr/share/fonts/truetype/lato/Lato-Regular.ttf", std::ios::binary);
    if (!installed)
        GTEST_SKIP() << "the installed font is elsewhere on this machine";
    const std::string font{std::istreambuf_iterator<char>(installed), {}};
    const TemporaryFolder folder;
    folder.write("renamed.ttf", renamedFace(font));
    EXPECT_EQ(Font::withName("Teto-Regular", 12), std::nullopt);
    ASSERT_TRUE(FUIFont::registerFontFile(folder.path("renamed.ttf")));
    ASSERT_TRUE(Font::withName("Teto-Regular", 12));
    EXPECT_TRUE(FUIFont::normal(12));
    EXPECT_EQ(textSize("Sentrel", *Font::withName("Teto-Regular", 12)), textSize("Sentrel", *FUIFont::normal(12)));
}

TEST(FUIFont, RefusesAFileThatIsNoFont) {
    const TemporaryFolder folder;
    folder.write("text.ttf", "no font at all");
    EXPECT_FALSE(FUIFont::registerFontFile(folder.path("text.ttf")));
    EXPECT_FALSE(FUIFont::registerFontFile(folder.path("missing.ttf")));
    EXPECT_TRUE(FUIFont::normal(12));
}

TEST(Font, MeasuresTextInPoints) {
    const Size size = textSize("42%", *FUIFont::normal(20));
    EXPECT_NEAR(size.height, 20.0, 0.1); // the face asks for its typographic line height, one em
    EXPECT_GT(size.width, 20.0);
    EXPECT_NEAR(textSize("42%", *FUIFont::normal(40)).width, 2 * size.width, 0.1);
    EXPECT_EQ(textSize("42%", *FUIFont::normal(0)), Size{});
}

} // namespace

} // namespace sentrel
